/// @file
/// Ctrl-C: what it does depends on what the shell is doing.
#pragma once

namespace orkit {
class I_Unknown;
namespace orsql {
class I_DuckDBRunControl;
}
} // namespace orkit

namespace orlimbara::shell {

/// What the shell is doing when Ctrl-C arrives.
enum class Activity {
    Idle,      ///< the shell waits for input or does short work
    Prompting, ///< at the prompt, where Ctrl-C never ends the process
    Running,   ///< DuckDB runs something that can be stopped
    Busy,      ///< inside the module, which can't be stopped here: the first Ctrl-C says so
};

/// Handles SIGINT, and ignores the signals that would end the process when writing fails. Call it once, at
/// the start. The second Ctrl-C since the last ForgetInterrupts ends the process with 130.
void InstallInterrupts();
/// From now on a second Ctrl-C ends the process only within a second of the first, unless the shell is busy
/// with something that can't be stopped. A later one tries again to stop what runs.
void EndOnlyAtQuickInterrupts();
/// Whether Ctrl-C was pressed since the last ForgetInterrupts.
bool IsInterrupted();
void ForgetInterrupts();

/// Waits until a file can be read or is at its end. @return false if Ctrl-C came first.
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

/// Leaves Ctrl-C to the program that reads a pipe, for its lifetime.
class YieldScope {
public:
    /// @param inPipe the end to write to. On POSIX Ctrl-C reaches the shell again when the reader is gone.
    explicit YieldScope(int inPipe);
    YieldScope(const YieldScope&) = delete;
    YieldScope& operator=(const YieldScope&) = delete;
    ~YieldScope();
    /// Leaves Ctrl-C to the program until the end of the scope, whatever happens to the pipe.
    void KeepOn();
};

/// Lets Ctrl-C stop what DuckDB runs, for its lifetime, even if it was pressed just before. Stopped calls
/// throw.
class RunScope {
public:
    /// @param inObject the object whose calls are stopped: a database, or the root object for its import. It
    /// must outlive the scope.
    explicit RunScope(orkit::I_Unknown* inObject);
    RunScope(const RunScope&) = delete;
    RunScope& operator=(const RunScope&) = delete;
    ~RunScope();

    /// Null if the module can't stop calls of this object.
    orkit::orsql::I_DuckDBRunControl* get_Control() const { return mControl; }

private:
    orkit::orsql::I_DuckDBRunControl* mControl;
    orkit::orsql::I_DuckDBRunControl* mBefore;
    ActivityScope mActivity;
};

} // namespace orlimbara::shell
