#include "concurrency/ready_queue.h"

#include <utility>

namespace kq::concurrency {

CQueueJobAdapter* ReadyQueue::First() const noexcept {
    CQueueJobAdapter* const listed = list_.First();
    if (heap_ == nullptr || (listed != nullptr && listed->sequence < heap_->sequence))
        return listed;
    return heap_;
}

void ReadyQueue::Add(CQueueJobAdapter& job) noexcept {
    if (list_.IsEmpty() || list_.Last()->sequence < job.sequence) {
        job.isInHeap = false;
        list_.PushBack(job);
    } else {
        job.isInHeap = true;
        heap_ = Meld(heap_, &job);
    }
}

void ReadyQueue::Remove(CQueueJobAdapter& job) noexcept {
    if (!job.isInHeap) {
        list_.Unlink(job);
        return;
    }
    CQueueJobAdapter* const children = MeldSiblings(std::exchange(job.child, nullptr));
    if (&job == heap_) {
        heap_ = children;
        return;
    }
    (job.previous->child == &job ? job.previous->child : job.previous->next) = job.next;
    if (job.next != nullptr)
        job.next->previous = job.previous;
    job.previous = nullptr;
    job.next = nullptr;
    heap_ = Meld(heap_, children);
}

// Both are roots: without siblings.
CQueueJobAdapter* ReadyQueue::Meld(CQueueJobAdapter* left, CQueueJobAdapter* right) noexcept {
    if (left == nullptr || right == nullptr)
        return left != nullptr ? left : right;
    if (right->sequence < left->sequence)
        std::swap(left, right);
    right->previous = left;
    right->next = left->child;
    if (left->child != nullptr)
        left->child->previous = right;
    left->child = right;
    return left;
}

// In pairs from the first to the last, and then the pairs from the last to the first.
CQueueJobAdapter* ReadyQueue::MeldSiblings(CQueueJobAdapter* first) noexcept {
    CQueueJobAdapter* pairs = nullptr;
    while (first != nullptr) {
        CQueueJobAdapter* const second = first->next;
        CQueueJobAdapter* const rest = second != nullptr ? second->next : nullptr;
        first->previous = first->next = nullptr;
        if (second != nullptr)
            second->previous = second->next = nullptr;
        CQueueJobAdapter* const pair = Meld(first, second);
        pair->next = pairs;
        pairs = pair;
        first = rest;
    }
    CQueueJobAdapter* heap = nullptr;
    while (pairs != nullptr) {
        CQueueJobAdapter* const rest = std::exchange(pairs->next, nullptr);
        heap = Meld(heap, pairs);
        pairs = rest;
    }
    return heap;
}

} // namespace kq::concurrency
