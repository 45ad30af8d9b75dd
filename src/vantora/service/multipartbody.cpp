#include "vantora/service/multipartbody_p.h"

#include <QUuid>

using namespace Qt::Literals::StringLiterals;

namespace Vantora {

QString newBoundary()
{
    return u"Boundary-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QByteArray multipartBody(const std::optional<FormFields> &fields, const QString &boundary)
{
    const QByteArray separator = "--" + boundary.toUtf8();
    QByteArray body;
    if (fields) {
        for (const auto &[name, value] : *fields) {
            body += separator + "\r\n";
            body += "Content-Disposition: form-data; name=\"" + name.toUtf8() + "\"\r\n\r\n";
            body += value.toUtf8() + "\r\n";
        }
    }
    body += separator + "--\r\n";
    return body;
}

} // namespace Vantora
