// Faults at single system calls: a child is traced, and at the n-th of its calls that change files or write
// into them it is killed, the call fails, or a write is cut short. For the real machine only, and not under
// sanitizers: leaks cannot be looked for in a process that is traced.
#pragma once

#include <tests/support/ChildProcess.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

/// What happens at a call: nothing, SIGKILL before it, an error in its place, or half of what it was to
/// write.
struct CallFault {
    enum Kind { none, killed, failing, cut } kind = none;
    int at = 0;     ///< the call, from 1 on
    int number = 0; ///< of the error

    std::string Text() const
    {
        const char* const words[] = {"no fault", "killed", "failed", "cut short"};
        return std::string(words[kind]) + " at call " + std::to_string(at) +
               (kind == failing ? std::string(": ") + std::strerror(number) : "");
    }
};

/// How a child with a fault ended, and its calls in their order, that of the fault included.
struct FaultyRun : Finished {
    std::vector<long> calls;
};

namespace call_faults {

/// Whether a call changes files or writes into them.
inline bool Changes(std::uint64_t call, const std::uint64_t* arguments)
{
    switch (static_cast<long>(call)) {
    case SYS_openat: return (arguments[2] & O_CREAT) != 0;
    case SYS_write:
    case SYS_pwrite64:
    case SYS_writev:
    case SYS_fsync:
    case SYS_fdatasync:
    case SYS_ftruncate:
    case SYS_fchmod:
    case SYS_renameat:
    case SYS_renameat2:
    case SYS_linkat:
    case SYS_symlinkat:
    case SYS_mkdirat:
    case SYS_unlinkat: return true;
#ifdef SYS_rename // processors that have had system calls for longer
    case SYS_open: return (arguments[1] & O_CREAT) != 0;
    case SYS_rename:
    case SYS_link:
    case SYS_symlink:
    case SYS_mkdir:
    case SYS_rmdir:
    case SYS_unlink: return true;
#endif
    default: return false;
    }
}

inline bool IsWrite(long call) { return call == SYS_write || call == SYS_pwrite64; }

#ifdef __x86_64__
inline constexpr bool errorsCanBeMade = true;

inline void ChangeRegisters(pid_t child, const std::function<void(user_regs_struct&)>& change)
{
    user_regs_struct registers{};
    child_process::Check(ptrace(PTRACE_GETREGS, child, nullptr, &registers) == 0, "PTRACE_GETREGS");
    change(registers);
    child_process::Check(ptrace(PTRACE_SETREGS, child, nullptr, &registers) == 0, "PTRACE_SETREGS");
}

/// At the entry of a call: nothing is done in its place, or only half of it.
inline void Spoil(pid_t child, const CallFault& fault, bool writes)
{
    ChangeRegisters(child, [&](user_regs_struct& r) {
        if (fault.kind == CallFault::failing) r.orig_rax = ~0ull;
        else if (fault.kind == CallFault::cut && writes) r.rdx = (r.rdx + 1) / 2;
    });
}

/// At the end of a call that was not done.
inline void Answer(pid_t child, int error)
{
    ChangeRegisters(child, [error](user_regs_struct& r) { r.rax = static_cast<unsigned long long>(-error); });
}
#else
inline constexpr bool errorsCanBeMade = false;
inline void Spoil(pid_t, const CallFault&, bool) {}
inline void Answer(pid_t, int) {}
#endif

inline std::string Rest(std::FILE* file)
{
    std::string text;
    std::rewind(file);
    for (int c = 0; (c = std::getc(file)) != EOF;) text += static_cast<char>(c);
    std::fclose(file);
    return text;
}

} // namespace call_faults

/// Runs the body in a child, in which it becomes a program or ends by _exit(), with a fault. Other processes
/// that it starts have none.
inline FaultyRun RunWithFault(const std::function<void()>& body, const CallFault& fault)
{
    using namespace call_faults;
    using child_process::Check;
    std::FILE* const out = std::tmpfile();
    std::FILE* const err = std::tmpfile();
    Check(out != nullptr && err != nullptr, "tmpfile");
    std::fflush(nullptr);
    const pid_t child = fork();
    Check(child >= 0, "fork");
    if (child == 0) {
        if (dup2(fileno(out), STDOUT_FILENO) < 0 || dup2(fileno(err), STDERR_FILENO) < 0 ||
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(126);
        raise(SIGSTOP);
        body();
        _exit(0);
    }
    FaultyRun run;
    int status = 0;
    Check(waitpid(child, &status, 0) == child && WIFSTOPPED(status), "ptrace");
    const long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL | PTRACE_O_TRACEEXEC;
    Check(ptrace(PTRACE_SETOPTIONS, child, nullptr, options) == 0, "PTRACE_SETOPTIONS");
    bool spoilt = false;
    for (long signal = 0;;) {
        ptrace(PTRACE_SYSCALL, child, nullptr, signal);
        Check(waitpid(child, &status, 0) == child, "waitpid");
        signal = 0;
        if (WIFEXITED(status) || WIFSIGNALED(status)) break;
        if (status >> 8 == (SIGTRAP | PTRACE_EVENT_EXEC << 8)) continue;
        if (WSTOPSIG(status) != (SIGTRAP | 0x80)) {
            signal = WSTOPSIG(status);
            continue;
        }
        __ptrace_syscall_info info{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0) continue;
        if (info.op == PTRACE_SYSCALL_INFO_EXIT && spoilt) {
            if (fault.kind == CallFault::failing) Answer(child, fault.number);
            spoilt = false;
        }
        if (info.op != PTRACE_SYSCALL_INFO_ENTRY || !Changes(info.entry.nr, info.entry.args)) continue;
        run.calls.push_back(static_cast<long>(info.entry.nr));
        if (static_cast<int>(run.calls.size()) != fault.at) continue;
        if (fault.kind == CallFault::killed) kill(child, SIGKILL);
        spoilt = fault.kind == CallFault::failing || fault.kind == CallFault::cut;
        if (spoilt) Spoil(child, fault, IsWrite(run.calls.back()));
    }
    if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
    else run.signal = WTERMSIG(status);
    run.out = Rest(out);
    run.err = Rest(err);
    return run;
}

/// The same for a program that is started in a folder.
inline FaultyRun RunWithFault(const std::vector<std::string>& argv, const std::string& workingDir,
                              const CallFault& fault)
{
    return RunWithFault(child_process::Becoming(argv, workingDir, {}), fault);
}
