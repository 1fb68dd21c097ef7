/// The version of these headers. The build takes its own version from here, so that header, shared
/// library and packages cannot disagree. The major number is that of the library's SONAME.
#pragma once

#define COREBEACON_VERSION_MAJOR 5
#define COREBEACON_VERSION_MINOR 1
#define COREBEACON_VERSION_PATCH 0
#define COREBEACON_VERSION "5.1.0"
