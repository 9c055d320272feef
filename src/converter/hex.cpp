#include <kq/converter/hex.h>

#include "converter/hex_loops.h"
#include "converter/hex_vectors.h"

using namespace kq::converter;

wchar_t* Mem2Hex(wchar_t* out, void const* data, unsigned long long length) noexcept {
    auto* const target = reinterpret_cast<unsigned char*>(out);
    const auto* const source = static_cast<const unsigned char*>(data);
    if (length >= hexVectorSize && HasHexVectors())
        EncodeHexByVectors(target, source, length);
    else
        EncodeHexByLoop(target, source, length);
    return out + 2 * length;
}

void* Hex2Mem(void* out, wchar_t const* text, unsigned long long count) noexcept {
    auto* const target = static_cast<unsigned char*>(out);
    const auto* const source = reinterpret_cast<const unsigned char*>(text);
    const unsigned long long length = count / 2;
    if (length >= hexVectorSize && HasHexVectors())
        DecodeHexByVectors(target, source, length);
    else
        DecodeHexByLoop(target, source, length);
    return target + length;
}
