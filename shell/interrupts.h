/// @file
/// Ctrl-C: what it does depends on what the shell is doing.
#pragma once

namespace orlimbara::shell {

/// What the shell is doing when Ctrl-C arrives.
enum class Activity {
    Idle,      ///< the shell waits for input or does short work
    Prompting, ///< at the prompt, where no number of Ctrl-C leaves
    Computing, ///< inside the module, which can't be stopped: the first Ctrl-C says so
};

/// Handles SIGINT, and ignores SIGPIPE so that writing reports it. Call it once, at the start. The second
/// Ctrl-C since the last ForgetInterrupts ends the process with 130.
void InstallInterrupts();
/// Whether Ctrl-C has come since the last ForgetInterrupts.
bool IsInterrupted();
void ForgetInterrupts();

/// Waits until a file can be read or has ended. @return false if Ctrl-C came first.
bool WaitForInput(int inFile);

/// Sets what the shell is doing, for its lifetime.
class ActivityScope {
public:
    explicit ActivityScope(Activity inActivity);
    ActivityScope(const ActivityScope&) = delete;
    ActivityScope& operator=(const ActivityScope&) = delete;
    ~ActivityScope();

private:
    Activity mBefore;
};

} // namespace orlimbara::shell
