// What lasts as long as a token.
#pragma once

#include <memory>
#include <utility>

namespace kq::progress {

/// Runs `enter`, and returns a token whose last release runs `exit`. When `enter` throws, `exit`
/// runs on the way out. What `exit` throws is lost: a destructor runs it.
template <class Enter, class Exit>
std::shared_ptr<void> MakeScope(Enter enter, Exit exit) {
    class Scope {
    public:
        explicit Scope(Exit exit) : exit_(std::move(exit)) {}
        ~Scope() {
            try {
                exit_();
            } catch (...) { // an observer's; its work is done
            }
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        Exit exit_;
    };
    const auto token = std::make_shared<Scope>(std::move(exit));
    enter();
    return token;
}

} // namespace kq::progress
