#pragma once

#include <utility>

/// Statuses of a TmtLock guard and results of releasing one.
enum TlockStatus : int {
    kLockHeld = 0,       ///< acquired, and the operating-system lock is held
    kLockGranted = 1,    ///< granted without locking: no worker thread was running
    kLockReleased = -1,  ///< TmtLock::release: the lock's release succeeded
    kLockTimedOut = -2,  ///< a timed try ran out
    kLockFailed = -3,    ///< not acquired; or TmtLock::release had nothing to release or failed
};

/// How a guard releases its lock: release, releaseRead or releaseWrite.
enum TlockMode : int {
    kLockModePlain = 0,
    kLockModeRead = 1,
    kLockModeWrite = 2,
};

/// Timeouts of the thread classes are milliseconds; any negative value waits
/// without limit, and 0 only tries.
constexpr int kMtWaitForever = -1;

/// The guard that every acquire operation of the lock family returns.
///
/// It holds the lock, the status of the acquisition (TlockStatus), an owned
/// flag (set when the status is kLockHeld or kLockGranted) and the mode. When
/// it ends, or on release(), an owned guard releases its lock according to
/// the mode, passing force = true exactly when the status is kLockHeld, so
/// a lock taken for real is always released for real. A guard moves but
/// never copies: the moved-from guard no longer owns anything.
///
/// A guard belongs to the thread that acquired it; a worker that wants to
/// keep a semaphore unit consumed calls setOwned(false) before the guard ends.
template <class T>
class TmtLock {
public:
    /// A guard that holds nothing (status kLockFailed).
    TmtLock() noexcept = default;
    TmtLock(T* lock, int status, int mode = kLockModePlain) noexcept
        : fLock(lock), fStatus(status), fMode(mode),
          fOwned(lock != nullptr && (status == kLockHeld || status == kLockGranted)) {}
    TmtLock(const TmtLock&) = delete;
    TmtLock& operator=(const TmtLock&) = delete;
    TmtLock(TmtLock&& other) noexcept
        : fLock(other.fLock), fStatus(other.fStatus), fMode(other.fMode), fOwned(std::exchange(other.fOwned, false)) {}
    /// Releases what this guard owns, then takes over other's.
    TmtLock& operator=(TmtLock&& other) noexcept {
        if (this != &other) {
            release();
            fLock = other.fLock;
            fStatus = other.fStatus;
            fMode = other.fMode;
            fOwned = std::exchange(other.fOwned, false);
        }
        return *this;
    }
    ~TmtLock() { release(); }

    /// Releases the lock if the guard owns it and clears the owned flag.
    /// kLockReleased when the lock's release succeeded; kLockFailed when it
    /// failed or there was nothing to release.
    int release() noexcept {
        if (!fOwned)
            return kLockFailed;
        fOwned = false;
        const bool force = fStatus == kLockHeld;
        bool ok;
        switch (fMode) {
        case kLockModeRead: ok = fLock->releaseRead(force); break;
        case kLockModeWrite: ok = fLock->releaseWrite(force); break;
        default: ok = fLock->release(force); break;
        }
        return ok ? kLockReleased : kLockFailed;
    }

    /// The status of the acquisition (TlockStatus); unchanged by release().
    int status() const noexcept { return fStatus; }
    /// True when the acquisition succeeded (kLockHeld or kLockGranted).
    bool acquired() const noexcept { return fStatus == kLockHeld || fStatus == kLockGranted; }
    bool owned() const noexcept { return fOwned; }
    /// Clearing the flag keeps the lock as it is when the guard ends.
    void setOwned(bool owned) noexcept { fOwned = owned && fLock != nullptr; }
    int mode() const noexcept { return fMode; }
    T* lock() const noexcept { return fLock; }

private:
    T* fLock = nullptr;
    int fStatus = kLockFailed;
    int fMode = kLockModePlain;
    bool fOwned = false;
};
