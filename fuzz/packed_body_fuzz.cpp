// Feeds any bytes to the decoder of packed bodies. A body that it accepts must encode to bytes that
// decode and encode to the same bytes again; a refusal must leave no body.

#include <cstdio>
#include <cstdlib>

#include "packed_body_wire.h"

namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "packed_body_fuzz: %s\n", what);
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QVariant body;
    QString error;
    if (!PackedBodyWire::decode(bytes, &body, &error)) {
        require(!body.isValid(), "a refusal left a body");
        require(!error.isEmpty(), "refused without an error text");
        return 0;
    }
    QByteArray written;
    require(PackedBodyWire::encode(body, &written, &error), "a decoded body has no wire form");
    QVariant again;
    require(PackedBodyWire::decode(written, &again, &error), "an encoded body is refused");
    QByteArray rewritten;
    require(PackedBodyWire::encode(again, &rewritten, &error), "the second encoding is refused");
    require(written == rewritten, "encoding again changed the body");
    return 0;
}
