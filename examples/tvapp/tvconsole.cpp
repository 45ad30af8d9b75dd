#include "tvconsole.h"

#include <cstdio>

namespace {

void print(FILE *stream, const QString &text)
{
    const QByteArray line = QStringLiteral("vantora-tv: %1\n").arg(text).toUtf8();
    std::fwrite(line.constData(), 1, size_t(line.size()), stream);
    std::fflush(stream);
}

} // namespace

void tvLine(const QString &text)
{
    print(stdout, text);
}

void tvError(const QString &text)
{
    print(stderr, text);
}
