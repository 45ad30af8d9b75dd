#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>
#include <utility>

namespace Vantora {

using FormFields = QList<std::pair<QString, QString>>;

/// "Boundary-" and a fresh random UUID in upper case: unique to one request.
QString newBoundary();

/// A multipart/form-data body: for each field its boundary line, one Content-Disposition line,
/// an empty line and the value; then the closing boundary line. Every line ends in CR LF, and no
/// part carries a Content-Type. Without fields, only the closing line.
QByteArray multipartBody(const std::optional<FormFields> &fields, const QString &boundary);

} // namespace Vantora
