#include "platform/module_instance.h"

HINSTANCE g_hInstance = nullptr;
