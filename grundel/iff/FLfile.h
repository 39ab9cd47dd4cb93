#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/iff/FLerror.h"

#include <cstddef>

/// The chunk file library: nested chunk files of the IFF family.
///
/// A file is a tree of chunks: an 8-byte header (four-character identifier,
/// signed 32-bit size, both big-endian) and the data, padded with zero bytes
/// to the alignment of its family ("FORM" 2, "FOR4" 4, "FOR8" 8 bytes; a
/// chunk inherits its group's alignment, which a group may only raise). Group
/// chunks ("FORM", "CAT ", "LIST", "PROP" and their 4- and 8-byte variants)
/// hold a 4-byte type code and further chunks. A size not known when its
/// header is written is patched on close (files and memory), or left unknown
/// and closed by "GEND" (groups) or an "EOVC" marker (data) on streams.
///
/// Every function returns a code (0 for success; see FLcode), a count or a
/// pointer, and leaves the code of its last failure in the calling thread's
/// error variable (FLerror()). One file is used by one thread at a time.

/// An identifier or type code from its four characters, first character in
/// the most significant byte: FLmakeid("FORM") is 0x464F524D.
constexpr TuInt32 FLmakeid(const char (&text)[5]) noexcept {
    return TuInt32(static_cast<unsigned char>(text[0])) << 24 | TuInt32(static_cast<unsigned char>(text[1])) << 16 |
           TuInt32(static_cast<unsigned char>(text[2])) << 8 | TuInt32(static_cast<unsigned char>(text[3]));
}

/// Kind flags of a chunk (FLchunkflags()).
constexpr TuInt32 kFLkindData = 0x00010000; ///< a plain data chunk
constexpr TuInt32 kFLkindGroup = 0x00020000; ///< a group or a marker
constexpr TuInt32 kFLkindRoot = 0x00040000; ///< may stand at the root of a file
constexpr TuInt32 kFLkindHoldsProps = 0x00080000; ///< may hold property groups (lists)
constexpr TuInt32 kFLkindForm = 0x00100000;
constexpr TuInt32 kFLkindCat = 0x00200000;
constexpr TuInt32 kFLkindList = 0x00400000;
constexpr TuInt32 kFLkindInList = 0x00800000; ///< must stand directly inside a list (properties)
constexpr TuInt32 kFLkindTyped = 0x01000000; ///< the header is followed by a type code
constexpr TuInt32 kFLkindWriting = 0x20000000; ///< open for writing

/// File flags (_FLfile::flags).
constexpr TuInt32 kFLrepairSizes = 0x0001; ///< size-repair reading mode (mode "rs")
constexpr TuInt32 kFLwriting = 0x0002;
constexpr TuInt32 kFLcannotSeek = 0x0010; ///< the output is a stream
constexpr TuInt32 kFLinMemory = 0x0080; ///< the file is a block of memory
constexpr TuInt32 kFLownBlock = 0x0100; ///< ... that the library allocated
constexpr TuInt32 kFLdeleteOnClose = 0x0200; ///< the file at the temporary name goes on close

/// Sizes with the sign bit set: not known when the header was written. Only
/// these four are legal.
constexpr TuInt32 kFLsizeUnknown = 0x80000000u;
constexpr TuInt32 kFLsizePatched = 0x80000001u;  ///< patched on close
constexpr TuInt32 kFLsizeStream = 0x80000002u;   ///< stays unknown: "GEND" or "EOVC" follows
constexpr TuInt32 kFLsizeUnknownLast = 0x80000003u;

/// The end of a level whose size is unknown.
constexpr TuInt64 kFLunknownEnd = ~TuInt64(0);
/// The deepest nesting of groups a file may have.
constexpr TuInt32 kFLmaxDepth = 1024;

/// One level of nesting: the inside of a group, or the root of the file. At
/// most one chunk is open at each level.
struct _FLcontext {
    _FLcontext* parent;   ///< the enclosing level (null at the root)
    TuInt32 flags;        ///< kind flags of the chunk open at this level
    TuInt32 id;           ///< its identifier (0 when no chunk is open)
    Tint32 size;          ///< its size, as in its header
    TuInt32 type;         ///< its type code, for a group
    TuInt64 start;        ///< position of its data (after the header)
    TuInt32 chunkMask;    ///< its alignment mask
    TuInt64 levelStart;   ///< where this level's chunks begin
    TuInt64 levelEnd;     ///< where it ends (kFLunknownEnd: unknown)
    TuInt32 mask;         ///< alignment mask of the chunks of this level
    TuInt32 depth;        ///< 0 at the root
};

struct _FLmark;
namespace grundel::detail {
class FLio;
}

/// An open chunk file. Allocated zeroed by FLopen; FLsopen may ask for a
/// larger record whose extra room (FLuserdata()) belongs to the caller.
struct _FLfile {
    char* name;                    ///< as opened ("pipe:%s" for "|command")
    char mode;                     ///< 'r' or 'w'
    TuInt32 flags;                 ///< kFLwriting, kFLcannotSeek, ...
    grundel::detail::FLio* io;     ///< the bytes
    _FLmark* marks;
    _FLcontext* context;           ///< the innermost level
    _FLcontext root;               ///< the root level
    TuInt64 end;                   ///< position after the last byte written
    TuInt64 highWater;             ///< the furthest position written
    char* tmpName;                 ///< deleted on close with kFLdeleteOnClose
    std::size_t recordSize;        ///< as asked of FLsopen
    TuInt32 creator;               ///< as given to FLopenCreatorType
    TuInt32 fileType;
    void* block;                   ///< the chunk being block-written (FLbgnwbchunk)
    TuInt32 blockReserved;
};
using FLfile = _FLfile;

// -- Opening and closing -----------------------------------------------------------

/// Opens name for reading ("r") or writing ("w"); "rs" reads in the
/// size-repair mode (data chunks "FRAM", "GRUP" and "SHAP" are not trusted
/// to carry correct sizes). Another first letter gives 24 and no file.
///
/// A name is a path, with three exceptions that are always understood:
/// "stdin", "stdout" (the standard streams) and "mmap:path" (read through a
/// read-only mapping). The other name forms run commands, reach other
/// machines or touch memory, so they are understood only while the calling
/// thread has turned them on with FLsetspecialnames(true):
/// "|command" or "pipe:command" (run by /bin/sh; the file is named
/// "pipe:command"); "fd:N" (descriptor N, left open on close);
/// "mem:0xADDRESS,SIZE" (the SIZE bytes at ADDRESS, hexadecimal with "0x",
/// SIZE decimal), and for writing "mem:" alone (a block of the library's,
/// see FLmeminfo and FLclosemem); "driver:rest" or "x@driver:rest" where
/// FLfinddriver finds the driver on the library's own search path (run as
/// "<driver dir><driver> read|write rest"); otherwise "host:path" on another
/// machine, through "flrcp [-w] host:path" when FLfindcmd finds it, else a
/// remote shell ("/usr/bsd/rsh", else rsh, else ssh on PATH) running
/// "cat < path" or "cat > path" (41 for an unknown host or no remote shell).
///
/// Whatever the setting, a name that is an existing file opens that file
/// (so "take:1.aifc" or "|x" in the current directory is read as it is), as
/// does a name whose second character is ':' or whose part before the first
/// ':' holds a '/'. A malformed special name gives 21. Null on failure.
[[nodiscard]] GRUNDEL_API _FLfile* FLopen(const char* name, const char* mode);
/// Turns the special name forms of FLopen ("|command", "pipe:", "fd:",
/// "mem:", drivers, "host:path") on or off for the calling thread; off by
/// default. Turn them on only for names the user typed, never for a name
/// read from a file. Returns the setting before the call.
GRUNDEL_API bool FLsetspecialnames(bool on) noexcept;
/// Whether the calling thread has the special name forms on.
GRUNDEL_API bool FLgetspecialnames() noexcept;
/// The special name forms on (or off) for the calling thread while the
/// object lives; the setting from before comes back when it ends.
class TiffSpecialNames {
public:
    explicit TiffSpecialNames(bool on = true) noexcept : fBefore(FLsetspecialnames(on)) {}
    ~TiffSpecialNames() { FLsetspecialnames(fBefore); }
    TiffSpecialNames(const TiffSpecialNames&) = delete;
    TiffSpecialNames& operator=(const TiffSpecialNames&) = delete;

private:
    bool fBefore;
};
/// FLopen with a record of recordSize bytes (at least sizeof(_FLfile)).
[[nodiscard]] GRUNDEL_API _FLfile* FLsopen(const char* name, const char* mode, std::size_t recordSize);
/// FLopen, keeping the creator and type codes in the record (this platform
/// gives them no other meaning).
[[nodiscard]] GRUNDEL_API _FLfile* FLopenCreatorType(const char* name, const char* mode, TuInt32 creator, TuInt32 type);
/// Closes every chunk and group still open for writing, innermost first,
/// flushes and closes. -1 if anything failed; otherwise the error variable
/// is as before the call and the result is that of closing the handle. Null
/// is accepted and does nothing.
[[nodiscard]] GRUNDEL_API int FLclose(_FLfile* file);
/// Closes without closing the chunks and groups still open: what was
/// written stays as it is (sizes not yet patched stay unknown).
[[nodiscard]] GRUNDEL_API int FLquickclose(_FLfile* file);
/// FLclose that hands the block of a "mem:" file being written over to the
/// caller, who frees it with free(). *data is null for other files.
[[nodiscard]] GRUNDEL_API int FLclosemem(_FLfile* file, void** data, std::size_t* size);
/// The block of a file in memory (what was written so far, or what is being
/// read, a "mmap:" file's mapping included). 0, or 11 "not a file" for a
/// file not in memory.
[[nodiscard]] GRUNDEL_API int FLmeminfo(const _FLfile* file, const void** data, std::size_t* size);
/// The size of the file: its length when read (-1 when unknown, as for a
/// stream), the furthest position written when written.
GRUNDEL_API long FLsize(_FLfile* file);
/// Writes out what the work buffer holds.
[[nodiscard]] GRUNDEL_API int FLflush(_FLfile* file);
/// The operating-system descriptor under the file, or -1 (memory).
GRUNDEL_API int FLfileno(const _FLfile* file) noexcept;
/// The caller's extra room of a record made by FLsopen (null without any).
GRUNDEL_API void* FLuserdata(_FLfile* file) noexcept;

// -- Writing -------------------------------------------------------------------------

/// Writes a group header of unknown size and its type code, and enters the
/// group. 3 for a type whose first byte has its top bit set, or an
/// identifier that is not a group's (at the root too); 34 for a reserved
/// prefix with a digit (FOR2); 12 for a group that may not stand at the
/// root, 14 for a property group outside a list; 6 beyond kFLmaxDepth.
[[nodiscard]] GRUNDEL_API int FLbgnwgroup(_FLfile* file, TuInt32 id, TuInt32 type);
/// FLbgnwgroup for a group whose size is known before its contents are
/// written: size counts the type code and the contents (their headers and
/// padding included), and goes into the header as it is, so the group is
/// padded by its family alone and needs neither patching nor "GEND". 16 for
/// a size below 4; 13 when the group does not fit the enclosing one. Inside,
/// a chunk or write that would pass the group's end is refused with 13.
[[nodiscard]] GRUNDEL_API int FLbgnwgroupsize(_FLfile* file, TuInt32 id, TuInt32 type, Tint32 size);
/// Closes the innermost group ("GEND" first on a stream) and its chunk. For
/// a group of known size: 16 when its contents fell short of it (the rest is
/// written as zeros, as FLendput does) or went past it.
[[nodiscard]] GRUNDEL_API int FLendwgroup(_FLfile* file);
/// Writes a chunk header; a negative size is unknown (patched on close, or
/// kept unknown on a stream). 29 while a chunk is open at this level.
[[nodiscard]] GRUNDEL_API int FLbgnput(_FLfile* file, TuInt32 id, Tint32 size);
/// Writes data into the open chunk. 26 without one; 13 past a known size,
/// writing nothing (the chunk stays open, as it was).
[[nodiscard]] GRUNDEL_API int FLput(_FLfile* file, const void* data, std::size_t length);
/// Writes text and its terminating zero byte into the open chunk.
[[nodiscard]] GRUNDEL_API int FLputs(_FLfile* file, const char* text);
/// Closes the open chunk: pads it, and patches or marks an unknown size. 16
/// when fewer bytes were written than a known size declares: the rest is
/// written as zeros, so that the file stays readable. The chunk is closed
/// whatever the result.
[[nodiscard]] GRUNDEL_API int FLendput(_FLfile* file);
/// FLbgnput, FLput, FLendput; a negative size gives 16.
[[nodiscard]] GRUNDEL_API int FLputchunk(_FLfile* file, TuInt32 id, Tint32 size, const void* data);
/// The same with a 4-byte type code before the data; size counts the data
/// only, the chunk's size is size + 4.
[[nodiscard]] GRUNDEL_API int FLputchunkTyped(_FLfile* file, TuInt32 id, Tint32 size, const void* data, TuInt32 type);
/// Block writing: reserves room for a chunk of size bytes in the work buffer
/// (in memory, in the file itself), writes its header and returns its data
/// area for the caller to fill. 29 (null) while another block is open.
[[nodiscard]] GRUNDEL_API void* FLbgnwbchunk(_FLfile* file, TuInt32 id, Tint32 size);
/// Commits the block: size is what was filled (0: as reserved; more than
/// reserved gives 16; less is patched into the header).
[[nodiscard]] GRUNDEL_API int FLendwbchunk(_FLfile* file, Tint32 size);
/// Plain output at the current position, counted against the open chunk.
/// The count written, or -1.
[[nodiscard]] GRUNDEL_API long FLwrite(_FLfile* file, const void* data, std::size_t length);
/// printf into the open chunk; the count written, or -1 (13 when it would
/// pass the chunk's known size).
GRUNDEL_API int FLprintf(_FLfile* file, const char* format, ...) __attribute__((format(printf, 2, 3)));

// -- Reading -------------------------------------------------------------------------

/// Reads the next header at this level: 0 for a data chunk, 31 for a group
/// (its type is then FLgrouptype()), 1 at the end of the group or file, or
/// an error. A header already open at this level is returned again.
[[nodiscard]] GRUNDEL_API int FLbgnget(_FLfile* file, TuInt32* id, Tint32* size);
/// The type code of the group whose header was read last at this level.
GRUNDEL_API TuInt32 FLgrouptype(const _FLfile* file) noexcept;
/// Kind flags of the chunk open at this level (0 without one).
GRUNDEL_API TuInt32 FLchunkflags(const _FLfile* file) noexcept;
/// Enters the group whose header was just read, or reads the next header
/// and enters it: 0 with its type and size; 32 when the next chunk is a data
/// chunk; 1 at the end. 6 deeper than kFLmaxDepth.
[[nodiscard]] GRUNDEL_API int FLbgnrgroup(_FLfile* file, TuInt32* type, Tint32* size);
/// Leaves the innermost group, wherever reading stopped in it. 25 at the root.
[[nodiscard]] GRUNDEL_API int FLendrgroup(_FLfile* file);
/// FLbgnrgroup, then FLendrgroup.
[[nodiscard]] GRUNDEL_API int FLskipgroup(_FLfile* file);
/// Reads exactly length bytes of the open chunk: 26 without one, 13 past its
/// size, 8 when the file ends first.
[[nodiscard]] GRUNDEL_API int FLget(_FLfile* file, void* buffer, std::size_t length);
/// Plain reading at the current position (within the open chunk, when one
/// is open): the count read, or -1.
[[nodiscard]] GRUNDEL_API long FLread(_FLfile* file, void* buffer, std::size_t length);
/// Pushes length bytes back: the next reads return them first.
[[nodiscard]] GRUNDEL_API int FLunread(_FLfile* file, const void* data, std::size_t length);
/// Steps back over the last length bytes read in the open chunk.
[[nodiscard]] GRUNDEL_API int FLunget(_FLfile* file, std::size_t length);
/// Moves within the open chunk (offsets from its data's start, SEEK_SET;
/// the position, SEEK_CUR; its end, SEEK_END) or, with no chunk open, in the
/// file. 13 outside the chunk; 20 backwards on a stream.
[[nodiscard]] GRUNDEL_API int FLseek(_FLfile* file, long offset, int whence);
/// The position within the open chunk, or in the file without one.
GRUNDEL_API long FLtell(_FLfile* file);
/// Finishes the open data chunk, skipping what was not read and its padding.
[[nodiscard]] GRUNDEL_API int FLendget(_FLfile* file);
/// Reads the next data chunk whole into new memory (free it with free()).
/// Null with 25 at the root, 31 for a group header, 16 for an unknown size,
/// 8 when the file cannot hold the declared size, 33 without memory.
[[nodiscard]] GRUNDEL_API void* FLreadchunk(_FLfile* file, TuInt32* id, Tint32* size);

// -- Marks -----------------------------------------------------------------------------

/// Remembers the current position at the current level under mark (an
/// existing mark of that number moves).
[[nodiscard]] GRUNDEL_API int FLsetmark(_FLfile* file, int mark);
/// Returns to a mark: the chunk open at the level is forgotten and reading
/// or writing resumes at the mark. 35 for an unknown mark, 14 from another
/// level, 20 on a stream.
[[nodiscard]] GRUNDEL_API int FLjmpmark(_FLfile* file, int mark);
/// 35 for an unknown mark.
[[nodiscard]] GRUNDEL_API int FLdelmark(_FLfile* file, int mark);
GRUNDEL_API void FLclearmarks(_FLfile* file);
