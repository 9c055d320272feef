#include <kq/version.h>

#define KQ_TEXT_OF(number) #number
#define KQ_DOTTED(major, minor, patch) KQ_TEXT_OF(major) "." KQ_TEXT_OF(minor) "." KQ_TEXT_OF(patch)

namespace kq {

VersionInfo Version() noexcept {
    return {KQ_DOTTED(KQ_VERSION_MAJOR, KQ_VERSION_MINOR, KQ_VERSION_PATCH), KQ_VERSION_MAJOR,
            KQ_VERSION_MINOR, KQ_VERSION_PATCH};
}

} // namespace kq
