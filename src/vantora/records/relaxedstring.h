#ifndef VANTORA_RELAXEDSTRING_H
#define VANTORA_RELAXEDSTRING_H

#include <QString>

namespace Vantora {

/**
 * A value the backend sends sometimes as a string and sometimes as a number (ids, timestamps,
 * durations, experience points), kept as text. Decoding accepts a string, a number, a boolean or
 * an array of strings and never fails once a value is there: 42, 42.0 and "42" all give "42";
 * 2.5 gives "2.5"; true gives "true"; ["7", "x"] gives "7"; anything else gives "". It is always
 * encoded as a JSON string. Code that needs a number parses `value` itself.
 */
struct RelaxedString
{
    QString value;
};

} // namespace Vantora

#endif
