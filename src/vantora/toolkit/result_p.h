#pragma once

#include <utility>
#include <variant>

namespace Vantora {

/// A value or the error that prevented it; failures at run time (network, HTTP, decoding) are
/// values, never exceptions. Test it with `if (result)`, then read value() or error().
template <class T, class E>
class Result
{
public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) { }
    Result(E error) : m_state(std::in_place_index<1>, std::move(error)) { }

    explicit operator bool() const { return m_state.index() == 0; }

    const T &value() const & { return std::get<0>(m_state); }
    T &value() & { return std::get<0>(m_state); }
    T &&value() && { return std::get<0>(std::move(m_state)); }
    const E &error() const { return std::get<1>(m_state); }

private:
    std::variant<T, E> m_state;
};

} // namespace Vantora
