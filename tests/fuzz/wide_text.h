// Wide characters from the bytes of an input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kq_fuzz {

/// With an even first byte every other byte is a character, so that a mutation turns one character
/// into another; with an odd one every two bytes are a unit of 16 bits.
inline std::wstring WideText(const std::uint8_t* data, std::size_t size) {
    std::wstring text;
    if (size == 0)
        return text;
    if (data[0] % 2 == 0) {
        text.assign(data + 1, data + size);
    } else {
        for (std::size_t i = 1; i + 1 < size; i += 2)
            text += static_cast<wchar_t>(data[i] << 8 | data[i + 1]);
    }
    return text;
}

} // namespace kq_fuzz
