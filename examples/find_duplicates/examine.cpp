#include "examine.h"

#include "path.h"

#include <algorithm>
#include <memory>
#include <system_error>

namespace find_duplicates {
namespace {

/// The digest of a file too long to be in memory as a whole: each piece is digested together with
/// the digest of all before it. Equal files have equal pieces, since those lie at the same offsets.
class DigestChain {
public:
    DigestChain(const MD5HASH& start, std::uint32_t longestPiece)
        : buffer_(new unsigned char[sizeof(MD5HASH) + longestPiece]), digest_(start) {}

    /// Where the next piece belongs.
    unsigned char* Piece() noexcept { return buffer_.get() + sizeof(MD5HASH); }
    void Add(std::uint32_t length) {
        std::copy(std::begin(digest_.bytes), std::end(digest_.bytes), buffer_.get());
        HashMD5(digest_, buffer_.get(), static_cast<unsigned int>(sizeof(MD5HASH)) + length);
    }
    const MD5HASH& Digest() const noexcept { return digest_; }

private:
    std::unique_ptr<unsigned char[]> buffer_;
    MD5HASH digest_;
};

/// Digests the bytes from `begin` to `end`. False when the file ends before.
bool DigestRange(OpenFile& file, std::uint64_t begin, std::uint64_t end, MD5HASH& digest,
                 const OnRead& onRead) {
    const auto longest =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(end - begin, chunkLength));
    DigestChain chain(digest, longest);
    while (begin < end) {
        const auto wanted =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(end - begin, longest));
        if (file.Read(chain.Piece(), wanted) != wanted)
            return false;
        chain.Add(wanted);
        begin += wanted;
        onRead(wanted);
    }
    digest = chain.Digest();
    return true;
}

/// Calls `examine`; when the file cannot be read, notes that.
template <class Function>
void NotingFailure(Candidate& candidate, Function examine) {
    try {
        examine();
    } catch (const std::system_error& error) {
        candidate.state = State::Unreadable;
        candidate.error = static_cast<unsigned long>(error.code().value());
    }
}

} // namespace

void ExamineHead(const std::wstring& path, Candidate& candidate, const OnRead& onRead) {
    NotingFailure(candidate, [&] {
        OpenFile file(path);
        if (LedElsewhere(file.Handle(), path)) {
            candidate.state = State::Link;
            return;
        }
        const FileFacts facts = file.Facts();
        candidate.stamp = facts.stamp;
        candidate.hasOtherNames = facts.hasOtherNames;
        if (facts.hasOtherNames)
            candidate.id = file.Id();

        const std::uint64_t end = std::min<std::uint64_t>(facts.stamp.size, headLength);
        const bool complete = DigestRange(file, 0, end, candidate.digest, onRead);
        if (!complete || !(file.Facts().stamp == candidate.stamp))
            candidate.state = State::Changed;
        else
            candidate.state = end == facts.stamp.size ? State::Digested : State::Begun;
    });
}

void ExamineRest(const std::wstring& path, Candidate& candidate, const OnRead& onRead) {
    NotingFailure(candidate, [&] {
        OpenFile file(path);
        const auto unchanged = [&] { return file.Facts().stamp == candidate.stamp; };
        if (!unchanged()) {
            candidate.state = State::Changed;
            return;
        }
        file.Seek(headLength);
        const bool complete =
            DigestRange(file, headLength, candidate.stamp.size, candidate.digest, onRead);
        candidate.state = complete && unchanged() ? State::Digested : State::Changed;
    });
}

} // namespace find_duplicates
