#pragma once

#include "vantora/service/transport_p.h"

#include <QPointer>

class QNetworkAccessManager;

namespace Vantora {

/// HTTP over QNetworkAccessManager: no cache, redirects followed when they are no less safe.
class NetworkTransport final : public Transport
{
public:
    void send(HttpRequest request, QObject *context, Done done) override;

private:
    QNetworkAccessManager *manager();

    QPointer<QNetworkAccessManager> m_manager;
};

} // namespace Vantora
