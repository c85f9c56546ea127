#include "platform/module_state.h"

volatile LONG g_cLocks = 0;
