#pragma once

#include "grundel/core/Tapi.h"

/// Signal catchers for programs that want a word on the standard error
/// stream, and a chance to clean up, before a signal ends them. A caught
/// signal runs the function set by FLcatchfunc (if any), writes
/// "program: word\n" ("word\n" when no program name was set with
/// FLsetprogname before the catcher was installed; the word is
/// FLstrsignal's), then restores the signal's default action and raises it
/// again, so the process ends as it would have without the catcher (with a
/// core dump where that is the default). The handler uses only
/// async-signal-safe calls and leaves errno as it found it.
///
/// The sets:
/// - FLcatchint: SIGHUP, SIGINT, SIGQUIT, SIGTERM (stop requests).
/// - FLcatchcore: SIGILL, SIGTRAP, SIGABRT, SIGFPE, SIGBUS, SIGSEGV,
///   SIGSYS, SIGXCPU, SIGXFSZ (faults and limits that dump core).
/// - FLcatchall: both, and SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2, SIGVTALRM,
///   SIGPROF, SIGIO, SIGPWR, SIGSTKFLT: every catchable signal whose default
///   action ends the process.
/// - FLsilentcatch: the FLcatchall set, with no message. Silence belongs to
///   the process: a later FLcatchint, FLcatchcore or FLcatchall turns the
///   message back on for every caught signal.
///
/// Each returns 0, or -1 with code 40 (and FLoserror()) when the system
/// refuses a handler. Installing handlers is not thread-safe with respect to
/// other code that changes the same signals' actions.
GRUNDEL_API int FLcatchint() noexcept;
GRUNDEL_API int FLcatchcore() noexcept;
GRUNDEL_API int FLcatchall() noexcept;
GRUNDEL_API int FLsilentcatch() noexcept;

/// Called with the Linux signal number by every catcher before its message;
/// it must itself be async-signal-safe. Null: none. Returns the previous one.
using FLsignalfunc = void (*)(int signal);
GRUNDEL_API FLsignalfunc FLcatchfunc(FLsignalfunc func) noexcept;
