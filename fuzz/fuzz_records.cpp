// Decodes any input as every document kind. Where it decodes, encoding must reach a fixed point:
// the record written back decodes again and writes back to the same bytes.

#include "vantora/records/recordcatalog_p.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (const Vantora::Json::DocumentKind &kind : Vantora::Json::documentKinds()) {
        const auto once = kind.reencode(input);
        if (!once)
            continue;
        const auto twice = kind.reencode(once.value());
        if (!twice || twice.value() != once.value()) {
            std::fprintf(stderr, "%s does not re-encode to itself:\n%s\n%s\n", kind.name.data(),
                         once.value().constData(),
                         twice ? twice.value().constData() : qPrintable(twice.error().message()));
            std::abort();
        }
    }
    return 0;
}
