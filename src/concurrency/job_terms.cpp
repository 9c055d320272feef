#include <kq/concurrency/job_terms.h>

#include "concurrency/term_constants.h"
#include "concurrency/ticket_condition.h"
#include "thread/recycling.h"

#include <new>
#include <utility>

namespace kq::concurrency {

namespace {

// The constants live in raw storage: as objects they would be destroyed at process exit, when
// threads that still use them may have been killed at any instruction.
struct Constant {
    alignas(CJobTermsImpl) unsigned char terms[sizeof(CJobTermsImpl)];
    alignas(std::shared_ptr<CJobTermsImpl>) unsigned char pointer[sizeof(
        std::shared_ptr<CJobTermsImpl>)];

    void Construct(bool uiThread, bool blocking) noexcept {
        auto* const object = new (terms) CJobTermsImpl{uiThread, blocking, {}};
        // Shares no ownership with anybody: copies count nothing and free nothing.
        new (pointer) std::shared_ptr<CJobTermsImpl>(std::shared_ptr<void>(), object);
    }
};

Constant inUIStorage;
Constant inUIAsyncStorage;
Constant isBlockingStorage;

std::shared_ptr<CJobTermsImpl> WithCondition(std::function<StartInfo()> condition) {
    auto terms = thread::MakeRecycled<CJobTermsImpl>();
    terms->condition = std::move(condition);
    return terms;
}

} // namespace

const std::shared_ptr<CJobTermsImpl>& inUI =
    reinterpret_cast<const std::shared_ptr<CJobTermsImpl>&>(inUIStorage.pointer);
const std::shared_ptr<CJobTermsImpl>& inUIAsync =
    reinterpret_cast<const std::shared_ptr<CJobTermsImpl>&>(inUIAsyncStorage.pointer);
const std::shared_ptr<CJobTermsImpl>& isBlocking =
    reinterpret_cast<const std::shared_ptr<CJobTermsImpl>&>(isBlockingStorage.pointer);

void ConstructTermConstants() noexcept {
    inUIStorage.Construct(true, false);
    inUIAsyncStorage.Construct(true, true);
    isBlockingStorage.Construct(false, true);
}

std::shared_ptr<CJobTermsImpl> after(const CJobTicket& ticket) {
    return WithCondition(TicketCondition(TicketCondition::Requires::Finished, ticket));
}

std::shared_ptr<CJobTermsImpl> after(const std::vector<CJobTicket>& tickets) {
    return WithCondition(TicketCondition(TicketCondition::Requires::Finished, tickets));
}

std::shared_ptr<CJobTermsImpl> dependsOn(const CJobTicket& ticket) {
    return WithCondition(TicketCondition(TicketCondition::Requires::Done, ticket));
}

std::shared_ptr<CJobTermsImpl> dependsOn(const std::vector<CJobTicket>& tickets) {
    return WithCondition(TicketCondition(TicketCondition::Requires::Done, tickets));
}

std::shared_ptr<CJobTermsImpl> condition(const std::function<StartInfo()>& function) {
    return WithCondition(function);
}

std::shared_ptr<CJobTermsImpl> operator&(const std::shared_ptr<CJobTermsImpl>& left,
                                         const std::shared_ptr<CJobTermsImpl>& right) {
    if (!left)
        return right;
    if (!right)
        return left;
    auto both = thread::MakeRecycled<CJobTermsImpl>();
    both->uiThread = left->uiThread || right->uiThread;
    both->blocking = left->blocking || right->blocking;
    if (left->condition && right->condition)
        both->condition = Conjunction(left, right);
    else
        both->condition = left->condition ? left->condition : right->condition;
    return both;
}

} // namespace kq::concurrency
