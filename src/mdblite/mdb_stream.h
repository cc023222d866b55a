// What the table store asks of a stream beyond the exported calls: positioned transfers, one
// system call each, which leave the stream's own position alone.
#pragma once

#include <stddef.h>

#include "base/guard.h"
#include "hearth/mdb_ifileio.h"

namespace hearth::mdblite {

// Writes at an offset from the start of the file and returns how many bytes went; 0 on failure.
// Does not go on after a short write, since for the store that is a failure.
size_t write_at(PBase_IFileStream *stream, uint32_t offset, const void *data, size_t length);

// Reads at an offset from the start of the file and returns how many bytes came; 0 on failure.
size_t read_at(PBase_IFileStream *stream, uint32_t offset, void *data, size_t length);

// Waits until what was written is on the disk.
bool sync_stream(PBase_IFileStream *stream);

// Closes and frees a stream, also one that holds no file any more. NULL is ignored.
void dispose_stream(PBase_IFileStream *stream);

using Stream = Owned<PBase_IFileStream, dispose_stream>;

}  // namespace hearth::mdblite
