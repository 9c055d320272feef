// Where crashes are dumped to.
#pragma once

namespace kq::error {

/// Forgets the setting, which is otherwise never destroyed: a crash may come at any moment of the
/// process's life. For the moment before the library's code goes.
void ReleaseDumpSetting();

} // namespace kq::error
