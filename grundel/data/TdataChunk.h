#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/iff/TiffTag.h"

class Tdata;
class TiffFile;

/// The road of one value to a chunk file and back: a Tdata is written as
/// one chunk whose identifier is its tag, and a chunk is read back into a
/// Tdata through the TmetaLetter registry.
///
/// Reading never loses bytes: a tag no class registered becomes a
/// TdataUnknown that keeps the chunk's bytes, and so does a chunk that its
/// class refuses (too short for the value it claims to hold), so that
/// writing the value back reproduces the chunk either way.
class GRUNDEL_API TdataChunk {
public:
    /// The chunk was read by the class registered for its tag (or kept
    /// because no class is registered for it).
    static constexpr int kRead = 0;
    /// The registered class refused the bytes; the value is a TdataUnknown
    /// keeping them.
    static constexpr int kRefused = -1;

    /// Writes value as one chunk into the open group of file: identifier
    /// value.tag(), then the value's payload. 0 on success; the NULL value
    /// writes nothing and gives 0; a value that cannot be written (an
    /// address, or a TdataVoidPtr) writes nothing and gives -1; otherwise -1 when writing the
    /// payload failed or the library's code (file.error()) of opening or
    /// closing the chunk.
    [[nodiscard]] static int write(TiffFile& file, const Tdata& value);

    /// Decodes the size bytes at data, met under tag, into value. DBLE (a
    /// plain value): 8 bytes are a double, 4 a time, anything else is kept
    /// as unknown. Other tags: a new letter of the registered class reads
    /// them. kRead or kRefused (see above); unread, when given, receives
    /// the bytes the value left over at the end (0 for a TdataUnknown).
    /// Raises TmemoryException only when no memory is left for the bytes.
    [[nodiscard]] static int decode(TiffTag tag, const void* data, TuInt32 size, Tdata& value,
                                    TuInt32* unread = nullptr);

    /// Reads the next data chunk of file's current group into value (and
    /// its identifier into tag, when given): kRead or kRefused as decode,
    /// or the library's code with value unchanged: 1 at the end of the
    /// group, 31 at a group's header (the caller enters or skips the
    /// group), 16 for a chunk of unknown size, 8 or 13 for a chunk the file
    /// does not hold whole.
    [[nodiscard]] static int read(TiffFile& file, Tdata& value, TiffTag* tag = nullptr);
};
