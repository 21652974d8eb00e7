#include "shell/interactive.h"

namespace orsql {

void RunInteractive(Shell& inShell) { inShell.RunFile("-"); }

}  // namespace orsql
