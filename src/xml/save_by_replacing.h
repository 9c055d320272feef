// Files that are replaced by finished ones.
#pragma once

#include <windows.h>

#include <boost/filesystem/path.hpp>

#include <functional>

namespace kq::xml {

/// Has `save` write `file`, and returns its result.
///
/// A file that is there already stays as it is until `save` has succeeded: `save` is given another
/// file of the same folder, which takes the place of the first in one step. Where that cannot be
/// done, `save` is given `file` itself: when it is a link, has several names or is no file on a
/// disk, when no file can be made in its folder, and when it is in use in a way that prevents its
/// replacement. `save` may run twice then. A file that is read-only is refused with E_ACCESSDENIED.
HRESULT SaveByReplacing(const boost::filesystem::path& file,
                        const std::function<HRESULT(const boost::filesystem::path&)>& save);

} // namespace kq::xml
