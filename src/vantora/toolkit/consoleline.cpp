#include "vantora/toolkit/consoleline_p.h"

#include <QByteArray>

#include <cstdio>

void Vantora::printLine(QStringView line)
{
    QByteArray bytes = line.toUtf8();
    bytes.append('\n');
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}
