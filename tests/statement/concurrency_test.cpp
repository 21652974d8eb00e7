#include "statement_fixture.h"
