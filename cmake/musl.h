/* The C++ headers ask which glibc this is; here it is none. */
#define __GLIBC_PREREQ(major, minor) 0
