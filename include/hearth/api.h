/*
 * Hearth: what every public header uses.
 *
 * All functions are plain C. Results are int32_t numbers with the meaning told at each
 * function; widths are the same on 32-bit and 64-bit hosts. Who allocates frees, with free(),
 * unless a function says that it hands ownership over.
 */
#ifndef HEARTH_API_H
#define HEARTH_API_H

#include <stddef.h>
#include <stdint.h>

#if defined(HEARTH_BUILDING)
#define HEARTH_API __attribute__((visibility("default")))
#else
#define HEARTH_API
#endif

/* The compiler checks a printf format at argument f against the values from argument v on. */
#define HEARTH_PRINTF(f, v) __attribute__((format(printf, f, v)))

/* The caller has to look at the result. */
#define HEARTH_MUST_CHECK __attribute__((warn_unused_result))

#if defined(__cplusplus)
#define HEARTH_BEGIN_DECLS extern "C" {
#define HEARTH_END_DECLS }
#else
#define HEARTH_BEGIN_DECLS
#define HEARTH_END_DECLS
#endif

#endif
