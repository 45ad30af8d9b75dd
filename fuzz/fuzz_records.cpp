// Decodes any input as every document kind. Where it decodes, encoding must reach a fixed point:
// the record written back decodes again and writes back to the same bytes.

#include "writeback.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    for (const Vantora::Json::DocumentKind &kind : Vantora::Json::documentKinds()) {
        if (const auto once = kind.reencode(input))
            Vantora::Fuzz::expectWritesBackToItself(kind, once.value());
    }
    return 0;
}
