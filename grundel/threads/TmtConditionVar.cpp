#include "grundel/threads/TmtConditionVar.h"

#include "grundel/threads/TmtSync_p.h"

namespace grundel::detail {

void TwaitQueue::enlist(Waiter& waiter) {
    std::lock_guard<std::mutex> lock(fMutex);
    waiter.woken = false;
    waiter.next = nullptr;
    waiter.previous = fLast;
    if (fLast)
        fLast->next = &waiter;
    else
        fFirst = &waiter;
    fLast = &waiter;
}

bool TwaitQueue::sleep(Waiter& waiter, int timeoutMs) {
    const Tdeadline deadline(timeoutMs);
    std::unique_lock<std::mutex> lock(fMutex);
    // Runs however the sleep ends. A thread cancelled after a signal chose
    // it hands the signal on, so that no wake-up is lost with it.
    struct Leave {
        TwaitQueue& queue;
        Waiter& waiter;
        bool done = false;
        ~Leave() {
            if (!waiter.woken)
                queue.unlink(waiter);
            else if (!done && queue.wakeFirst())
                queue.fCondition.notify_all();
        }
    } leave{*this, waiter};
    while (!waiter.woken) {
        if (deadline.forever())
            fCondition.wait(lock);
        else if (fCondition.wait_until(lock, deadline.end()) == std::cv_status::timeout)
            break;
    }
    leave.done = true;
    return waiter.woken;
}

bool TwaitQueue::wakeOne() {
    std::lock_guard<std::mutex> lock(fMutex);
    if (!wakeFirst())
        return false;
    fCondition.notify_all();
    return true;
}

bool TwaitQueue::wakeAll() {
    std::lock_guard<std::mutex> lock(fMutex);
    if (!fFirst)
        return false;
    while (wakeFirst()) {
    }
    fCondition.notify_all();
    return true;
}

bool TwaitQueue::wakeFirst() noexcept {
    Waiter* first = fFirst;
    if (!first)
        return false;
    unlink(*first);
    first->woken = true;
    return true;
}

void TwaitQueue::unlink(Waiter& waiter) noexcept {
    if (waiter.previous)
        waiter.previous->next = waiter.next;
    else
        fFirst = waiter.next;
    if (waiter.next)
        waiter.next->previous = waiter.previous;
    else
        fLast = waiter.previous;
    waiter.next = waiter.previous = nullptr;
}

} // namespace grundel::detail
