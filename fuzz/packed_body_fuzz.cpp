// Any bytes into the decoder of packed bodies. What it takes has to be a body that goes over the
// wire and comes back as the same bytes; what it refuses has to leave nothing behind.

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
        require(!body.isValid(), "a refused body left something behind");
        require(!error.isEmpty(), "refused without a word");
        return 0;
    }
    QByteArray written;
    require(PackedBodyWire::encode(body, &written, &error), "a decoded body has no wire form");
    QVariant again;
    require(PackedBodyWire::decode(written, &again, &error), "an encoded body is refused");
    QByteArray rewritten;
    require(PackedBodyWire::encode(again, &rewritten, &error), "the second time it is refused");
    require(written == rewritten, "a body changes on its way");
    return 0;
}
