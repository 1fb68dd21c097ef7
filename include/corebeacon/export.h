#pragma once

/// Marks what the shared library exports; everything else is hidden.
#if defined(__GNUC__)
#define COREBEACON_API __attribute__((visibility("default")))
#else
#define COREBEACON_API
#endif
