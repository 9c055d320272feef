// A file that may have a duplicate: it has its size in common with another one.
#pragma once

#include "open_file.h"

#include <kq/converter/md5.h>

#include <cstdint>

namespace find_duplicates {

enum class State : std::uint8_t {
    Listed,     ///< not opened yet
    Begun,      ///< the digest covers the head of the file
    Digested,   ///< the digest covers the whole content
    Link,       ///< it is not a file but a link to one
    Changed,    ///< somebody wrote to it meanwhile
    Unreadable, ///< `error` says why
};

struct Candidate {
    std::uint32_t file = 0; ///< index in `Tree::files`
    State state = State::Listed;
    bool hasOtherNames = false;
    unsigned long error = 0;
    Stamp stamp; ///< as of opening it
    FileId id{}; ///< only of a file with other names
    MD5HASH digest{};
    const Candidate* sameFileAs = nullptr; ///< set on all names of one file but one
};

} // namespace find_duplicates
