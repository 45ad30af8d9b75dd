#pragma once

// The fixed point every record kind must reach: a record the decoder accepts writes back, and
// what it writes decodes again and writes back to the same bytes.

#include "vantora/records/recordcatalog_p.h"

#include <cstdio>
#include <cstdlib>

namespace Vantora::Fuzz {

/// Aborts with both texts when `once`, the kind's writing of an accepted input, is no fixed point.
inline void expectWritesBackToItself(const Json::DocumentKind &kind, const QByteArray &once)
{
    const auto twice = kind.reencode(once);
    if (twice && twice.value() == once)
        return;
    std::fprintf(stderr, "%s does not re-encode to itself:\n%s\n%s\n", kind.name.data(),
                 once.constData(),
                 twice ? twice.value().constData() : qPrintable(twice.error().message()));
    std::abort();
}

} // namespace Vantora::Fuzz
