/* What the host's C++ headers expect of glibc. */
#define __GLIBC_PREREQ(major, minor) 0
#define __locale_t locale_t
#ifdef __cplusplus
#include <bits/c++config.h>
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_USE_PTHREAD_MUTEX_CLOCKLOCK
#undef _GLIBCXX_USE_PTHREAD_RWLOCK_CLOCKLOCK
#endif
