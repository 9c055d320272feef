#include <kq/converter/md5.h>

#include "converter/rows.h"
#include "require.h"
#include "stopwatch.h"
#include "table.h"

#include <windows.h>

#include <bcrypt.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace bench {

namespace {

using Bytes = std::vector<unsigned char>;

/// The platform's MD5: a hash object a digest, from a provider that stays open.
class PlatformMd5 {
public:
    PlatformMd5() {
        Require(BCryptOpenAlgorithmProvider(&algorithm_, BCRYPT_MD5_ALGORITHM, nullptr, 0) == 0,
                "the platform has MD5");
    }
    ~PlatformMd5() { BCryptCloseAlgorithmProvider(algorithm_, 0); }
    PlatformMd5(const PlatformMd5&) = delete;
    PlatformMd5& operator=(const PlatformMd5&) = delete;

    void Hash(MD5HASH& digest, Bytes& bytes) const {
        Require(BCryptHash(algorithm_, nullptr, 0, bytes.data(), static_cast<ULONG>(bytes.size()),
                           digest.bytes, sizeof(digest.bytes)) == 0,
                "the platform's digest");
    }

private:
    BCRYPT_ALG_HANDLE algorithm_ = nullptr;
};

template <class Hash>
double Digest(std::size_t repetitions, Hash hash) {
    MD5HASH digest{};
    const Stopwatch watch;
    for (std::size_t i = 0; i != repetitions; ++i)
        hash(digest);
    return watch.NanosecondsPer(repetitions);
}

void Enter(Row& row, Bytes& bytes, const PlatformMd5& platform, std::size_t repetitions) {
    MD5HASH own{};
    MD5HASH other{};
    HashMD5(own, bytes.data(), static_cast<unsigned>(bytes.size()));
    platform.Hash(other, bytes);
    Require(std::memcmp(own.bytes, other.bytes, sizeof(own.bytes)) == 0, "both digests");
    const double scale = bytes.size() > 1'000'000 ? 1e-6 : 1; // milliseconds, or nanoseconds
    row.Enter("kq HashMD5", [=, &bytes] {
        return scale * Digest(repetitions, [&bytes](MD5HASH& digest) {
                   HashMD5(digest, bytes.data(), static_cast<unsigned>(bytes.size()));
               });
    });
    row.EnterPeer("BCryptHash", [=, &bytes, &platform] {
        return scale * Digest(repetitions, [&](MD5HASH& digest) { platform.Hash(digest, bytes); });
    });
    // 0.98 of its speed.
    row.AimAtMostTimes(1 / 0.98);
}

} // namespace

void Md5() {
    constexpr std::size_t large = std::size_t{64} << 20;
    const PlatformMd5 platform;
    Bytes longText(large, 'x');
    Bytes shortText(64, 'x');
    Row longRow("HashMD5 of 64 MiB", "ms");
    Enter(longRow, longText, platform, 1);
    Row shortRow("HashMD5 of 64 bytes", "ns");
    Enter(shortRow, shortText, platform, 20'000);
    Measure({&longRow, &shortRow}, 15);
    longRow.Report();
    shortRow.Report();
}

} // namespace bench
