#include "memorytransport.h"

#include "vantora/toolkit/scheduler_p.h"

#include <gtest/gtest.h>

namespace Vantora::TestSupport {

void MemoryTransport::send(HttpRequest request, QObject *context, Done done)
{
    const auto answer = m_answers.constFind(request.url.path());
    HttpReply reply;
    if (answer == m_answers.cend()) {
        ADD_FAILURE() << "unexpected request: " << request.method.toStdString() << ' '
                      << request.url.toString().toStdString();
        reply.error = QStringLiteral("no answer for this request");
    } else {
        reply = *answer;
    }
    m_requests.append(std::move(request));
    Scheduler::instance().post(context, [done = std::move(done), reply] { done(reply); });
}

} // namespace Vantora::TestSupport
