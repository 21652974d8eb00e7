/* That the header of the boundary is plain C: its layouts are asserted where it compiles. */
#include "host/procedure_api.h"

typedef int not_empty;
