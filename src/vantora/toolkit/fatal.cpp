#include "vantora/toolkit/fatal_p.h"

#include <cstdlib>

void Vantora::fatal(const QString &message)
{
    qFatal("%s", qUtf8Printable(message));
    std::abort(); // qFatal already aborts; this tells the compiler so
}
