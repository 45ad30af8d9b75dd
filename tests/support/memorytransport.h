#pragma once

#include "vantora/service/transport_p.h"

#include <QHash>
#include <QList>

namespace Vantora::TestSupport {

/// A transport that keeps every request and answers from a table, asynchronously through the
/// scheduler (so in virtual time: on the next advance). A request with no answer in the table
/// fails the test that made it.
///
///   auto transport = std::make_unique<MemoryTransport>();
///   MemoryTransport &backend = *transport;
///   VTAServiceManager::shared().setTransport(std::move(transport));
///   backend.answer(u"/userApi/user/login_by_token"_s, {200, loadFixture(u"user.json")});
class MemoryTransport final : public Transport
{
public:
    /// Every later request for this URL path gets `reply`.
    void answer(const QString &path, HttpReply reply) { m_answers.insert(path, std::move(reply)); }

    const QList<HttpRequest> &requests() const { return m_requests; }
    /// Forgets the requests kept so far (a long run would otherwise keep them all).
    void forget() { m_requests.clear(); }

    void send(HttpRequest request, QObject *context, Done done) override;

private:
    QHash<QString, HttpReply> m_answers;
    QList<HttpRequest> m_requests;
};

} // namespace Vantora::TestSupport
