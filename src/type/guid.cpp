#include <kq/type/guid.h>

#include "type/rpc_status.h"

#include <cstring>
#include <memory>
#include <ostream>
#include <type_traits>

namespace kq::type {
namespace {

// True when `text` is a UUID, which then stands in `value`. The platform reads up to the first zero
// only, so that a zero within the text has to be refused here.
bool Parse(const std::wstring& text, UUID& value) noexcept {
    constexpr std::size_t length = 36;
    if (text.size() != length || text.find(L'\0') != std::wstring::npos)
        return false;
    auto* const characters = reinterpret_cast<RPC_WSTR>(const_cast<wchar_t*>(text.c_str()));
    return UuidFromStringW(characters, &value) == RPC_S_OK;
}

} // namespace

static_assert(sizeof(Guid) == sizeof(GUID));
static_assert(alignof(Guid) == alignof(GUID));
static_assert(std::is_trivially_copyable_v<Guid>);

Guid::Guid() {
    UUID value;
    RequireSuccess(UuidCreate(&value), "Failed to create GUID!");
    std::memcpy(bytes_, &value, sizeof(bytes_));
}

Guid::Guid(const GUID& value) noexcept { std::memcpy(bytes_, &value, sizeof(bytes_)); }

Guid::Guid(const std::wstring& text) {
    UUID value;
    if (!Parse(text, value))
        throw std::logic_error("Failed to parse string as GUID!");
    std::memcpy(bytes_, &value, sizeof(bytes_));
}

bool Guid::IsValidString(const std::wstring& text) {
    UUID value;
    return Parse(text, value);
}

GUID Guid::Get() const noexcept {
    GUID value;
    std::memcpy(&value, bytes_, sizeof(bytes_));
    return value;
}

std::wstring Guid::ToString() const {
    UUID value = Get();
    RPC_WSTR characters = nullptr;
    RequireSuccess(UuidToStringW(&value, &characters), "Failed to create GUID string!");
    const auto free = [](RPC_WSTR owned) { RpcStringFreeW(&owned); };
    const std::unique_ptr<unsigned short, decltype(free)> owner(characters, free);
    return reinterpret_cast<const wchar_t*>(owner.get());
}

bool Guid::operator==(const Guid& other) const {
    UUID left = Get();
    UUID right = other.Get();
    RPC_STATUS status = RPC_S_OK;
    const bool equal = UuidEqual(&left, &right, &status) != FALSE;
    RequireSuccess(status, "Failed to test GUIDs for equality!");
    return equal;
}

bool Guid::operator<(const Guid& other) const {
    UUID left = Get();
    UUID right = other.Get();
    // The status is asked for in every case: Wine writes it through a null pointer.
    RPC_STATUS status = RPC_S_OK;
    const int order = UuidCompare(&left, &right, &status);
    RequireSuccess(status, "Failed to compare GUIDs!");
    return order < 0;
}

std::size_t Guid::Hash() const noexcept {
    // FNV-1a of 64 bits.
    std::size_t hash = 14695981039346656037u;
    for (const unsigned char byte : bytes_)
        hash = (hash ^ byte) * 1099511628211u;
    return hash;
}

std::wostream& operator<<(std::wostream& stream, const Guid& guid) {
    return stream << guid.ToString();
}

} // namespace kq::type
