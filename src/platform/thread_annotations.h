/// Clang's thread-safety attributes under short names; other compilers see nothing.
#pragma once

#if defined(__clang__)
#define COREBEACON_TSA(x) __attribute__((x))
#else
#define COREBEACON_TSA(x)
#endif

#define CAPABILITY(x) COREBEACON_TSA(capability(x))
#define SCOPED_CAPABILITY COREBEACON_TSA(scoped_lockable)
#define GUARDED_BY(x) COREBEACON_TSA(guarded_by(x))
#define PT_GUARDED_BY(x) COREBEACON_TSA(pt_guarded_by(x))
#define REQUIRES(...) COREBEACON_TSA(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) COREBEACON_TSA(acquire_capability(__VA_ARGS__))
#define RELEASE(...) COREBEACON_TSA(release_capability(__VA_ARGS__))
#define EXCLUDES(...) COREBEACON_TSA(locks_excluded(__VA_ARGS__))
#define ACQUIRED_BEFORE(...) COREBEACON_TSA(acquired_before(__VA_ARGS__))
#define ACQUIRED_AFTER(...) COREBEACON_TSA(acquired_after(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS COREBEACON_TSA(no_thread_safety_analysis)
