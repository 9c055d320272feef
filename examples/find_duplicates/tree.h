// The files below a folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace find_duplicates {

struct File {
    std::uint32_t folder = 0; ///< index in `Tree::folders`
    std::wstring name;
    std::uint64_t size = 0; ///< as listed; a listing may be out of date
};

/// Something that could not be read.
struct Problem {
    std::wstring path;
    unsigned long error = 0;
};

/// Made for hundreds of thousands of files: a file does not repeat the path of its folder.
struct Tree {
    std::vector<std::wstring> folders;
    std::vector<File> files;
    std::vector<Problem> unreadableFolders;
    std::uint64_t bytes = 0;
    std::uint64_t empty = 0;   ///< files without content (they are in `files`)
    std::uint64_t links = 0;   ///< links and junctions, left out
    std::uint64_t offline = 0; ///< files that reading would fetch over the network, left out

    /// The path of a file by its index.
    std::wstring PathOf(std::size_t file) const {
        return folders[files[file].folder] + L'\\' + files[file].name;
    }
};

/// Adds everything below `root` (see `ResolveFolder`) to `tree`, without following links. Calls
/// `onStep` before each folder, and now and then in a large one; when that throws, the tree holds
/// what was found so far.
void Walk(const std::wstring& root, Tree& tree, const std::function<void()>& onStep);

} // namespace find_duplicates
