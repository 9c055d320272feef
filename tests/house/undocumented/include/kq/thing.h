// Public code of which some has no documentation.
#pragma once

#define KQ_THING 1

namespace kq {
namespace thing {

/// Documented.
class Thing {
public:
    void Forgotten();
};

void Lost();

} // namespace thing
namespace unheard {

/// Documented, but nobody would see it.
void Unseen();

} // namespace unheard
} // namespace kq
