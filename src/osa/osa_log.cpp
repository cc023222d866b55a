#include "hearth/osa_log.h"

// No log setting is loaded yet, so no message gets through.

void osa_print_log(const char * /*module*/, uint32_t /*level*/, const char * /*format*/, ...) {}

void osa_print_log_ex(const char * /*module*/, const char * /*file*/, uint32_t /*line*/,
                      uint32_t /*level*/, const char * /*format*/, ...) {}
