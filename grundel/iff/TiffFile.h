#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"
#include "grundel/iff/FLfile.h"
#include "grundel/iff/TiffTag.h"

#include <cstddef>
#include <vector>

class TiffFile;

/// The receiver of a parse (TiffFile::parse with setCallbackObject): twelve
/// hooks in a fixed slot order, and three dispatchers that the parser calls.
/// The dispatchers call the first hook of their kind; the other three of
/// each kind are there for classes that dispatch differently. Every hook
/// returns 0 to go on; anything else ends the parse with that result.
class GRUNDEL_API TiffParserCallback {
public:
    /// A form or property group: its identifier and type, once entered.
    virtual int iffVFormMethod1(TiffFile& file, TiffTag id, TiffTag type);
    virtual int iffVFormMethod2(TiffFile& file, TiffTag id, TiffTag type);
    virtual int iffVFormMethod3(TiffFile& file, TiffTag id, TiffTag type);
    virtual int iffVFormMethod4(TiffFile& file, TiffTag id, TiffTag type);
    /// A concatenation or list group.
    virtual int iffVListMethod1(TiffFile& file, TiffTag id, TiffTag type);
    virtual int iffVListMethod2(TiffFile& file, TiffTag id, TiffTag type);
    virtual int iffVListMethod3(TiffFile& file, TiffTag id, TiffTag type);
    virtual int iffVListMethod4(TiffFile& file, TiffTag id, TiffTag type);
    /// A data chunk (its data can be read from the file), or "GEND" with size
    /// 0 at the end of each level.
    virtual int iffVLeafMethod1(TiffFile& file, TiffTag tag, Tint32 size);
    virtual int iffVLeafMethod2(TiffFile& file, TiffTag tag, Tint32 size);
    virtual int iffVLeafMethod3(TiffFile& file, TiffTag tag, Tint32 size);
    virtual int iffVLeafMethod4(TiffFile& file, TiffTag tag, Tint32 size);
    virtual ~TiffParserCallback();

    int iffFormMethod(TiffFile& file, TiffTag id, TiffTag type) { return iffVFormMethod1(file, id, type); }
    int iffListMethod(TiffFile& file, TiffTag id, TiffTag type) { return iffVListMethod1(file, id, type); }
    int iffLeafMethod(TiffFile& file, TiffTag tag, Tint32 size) { return iffVLeafMethod1(file, tag, size); }
};

/// One open chunk file (see FLfile.h for the format and the codes), with
/// typed reading and writing of chunks and groups, a parser that calls back
/// for every form, list and data chunk, and decoders of chunk contents.
///
/// Buffered writing (setBufferingMode) is class-wide and unguarded: one
/// buffered group at a time in the whole process, from one thread. In that
/// mode a group and its chunks are held in memory and written with known
/// sizes when the group ends (no seeking back); a group that would buffer
/// more than 65536 bytes switches the mode off and goes on unbuffered.
///
/// Every operation returns the library's code (0 for success), a count, or
/// null, and leaves the code in error() (the calling thread's FLerror());
/// operations on a closed file give -1 or null, with error() 11. The codes
/// an operation gives beyond those of the FL call it names are listed with
/// it. One file is used by one thread at a time; a file may be moved to
/// another object (and another thread) between uses.
class GRUNDEL_API TiffFile {
public:
    using FormCallback = int (*)(TiffFile& file, TiffTag id, TiffTag type);
    using ListCallback = int (*)(TiffFile& file, TiffTag id, TiffTag type);
    using LeafCallback = int (*)(TiffFile& file, TiffTag tag, Tint32 size);

    TiffFile() noexcept = default;
    /// Opens at once (see open).
    TiffFile(const char* name, const char* mode, TuInt32 creator = 0, TuInt32 type = 0);
    /// Closes the file if it is open.
    virtual ~TiffFile();
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;
    /// Takes over other's file, callbacks and buffers (and its buffered
    /// group, if it has one); other is left closed.
    TiffFile(TiffFile&& other) noexcept;
    /// Closes the file held, then takes over other's as above.
    TiffFile& operator=(TiffFile&& other) noexcept;

    // -- Opening and closing ----------------------------------------------------

    /// Opens name ("r", "rs" or "w"; every name form of FLopen), closing a
    /// file already open. True when the file opened.
    [[nodiscard]] bool open(const char* name, const char* mode, TuInt32 creator = 0, TuInt32 type = 0);
    /// Closes and opens name again in mode.
    [[nodiscard]] bool reopen(const char* name, const char* mode);
    /// Closes every open chunk and group (FLclose). -1 when no file was open
    /// or when anything failed in closing (a buffered group that could not be
    /// written, a chunk short of its size); the object forgets the file
    /// either way.
    [[nodiscard]] int close();
    /// Closes without closing open chunks and groups: what was written stays
    /// as it is. -1 when no file was open.
    [[nodiscard]] int quickClose();
    bool isActive() const noexcept { return fFile != nullptr; }
    _FLfile* flFile() const noexcept { return fFile; }
    /// Takes over an open file (closing the one held).
    void setFLfile(_FLfile* file);
    bool isImage() const noexcept { return fIsImage; }
    void setIsImage(bool image) noexcept { fIsImage = image; }

    // -- Errors -------------------------------------------------------------------

    /// The library's code of the last failure.
    int error() const noexcept { return FLerror(); }
    /// The saved operating-system error.
    int fileError() const noexcept { return FLoserror(); }
    /// As FLperror.
    void perror(const char* prefix) const { FLperror(prefix); }

    // -- Positioning -------------------------------------------------------------

    [[nodiscard]] int seek(long offset, int whence);
    [[nodiscard]] long tell();
    /// The file's size (see FLsize); -1 when unknown or closed.
    [[nodiscard]] long size();
    [[nodiscard]] int flush();
    /// Deletes the file when it is closed (with on).
    void setTmp(bool on = true);
    /// Whether the file is a terminal.
    bool isTty() const noexcept;
    /// Whether the file name would open a terminal ("stdin"/"stdout" on one).
    static bool isTtyFile(const char* name) noexcept;
    /// The block of a file in memory and its size; 11 for other files.
    [[nodiscard]] int memoryInfo(const void** data, std::size_t* size) const;

    // -- Plain input and output ------------------------------------------------

    [[nodiscard]] long read(void* buffer, std::size_t length);
    [[nodiscard]] int get(void* buffer, std::size_t length);
    [[nodiscard]] int unread(const void* data, std::size_t length);
    [[nodiscard]] int unget(std::size_t length);
    [[nodiscard]] long write(const void* data, std::size_t length);
    /// Writes into the open chunk: 26 without one; 13 past its known size,
    /// writing nothing, so that the caller can go on with the chunk.
    [[nodiscard]] int put(const void* data, std::size_t length);
    /// Writes the text and its terminating zero byte.
    [[nodiscard]] int putString(const char* text);
    /// Reads a zero-terminated text of the open chunk into buffer (at most
    /// length - 1 characters; the rest of a longer text is skipped).
    [[nodiscard]] int getString(char* buffer, std::size_t length);
    /// The next length bytes of the open chunk, in a buffer of the object's
    /// (valid until the next call that reads); null with the code: 13 past
    /// the chunk's size, 8 past the end of the file, both checked before any
    /// memory is taken (on a stream, memory grows with what arrives).
    [[nodiscard]] const void* beginRead(std::size_t length);
    /// The same, pointing into the file's own block when it is in memory.
    [[nodiscard]] const void* sharedGet(std::size_t length);
    /// Room for length bytes in a buffer of the object's, to fill and then
    /// commit to the open chunk with endWrite.
    [[nodiscard]] void* beginWrite(std::size_t length);
    /// Writes the first used bytes of the beginWrite buffer: 16 for more
    /// than it holds; otherwise as put.
    [[nodiscard]] int endWrite(std::size_t used);

    // -- Chunks --------------------------------------------------------------------

    /// Opens a chunk (FLbgnput; a negative size is unknown): 29 while a chunk
    /// is open at this level, 12 for a data chunk at the root, 13 when it
    /// does not fit its group's known size. Buffered, the size is ignored.
    [[nodiscard]] int beginPut(TiffTag tag, Tint32 size);
    /// Closes the chunk (FLendput): 16 when fewer bytes were put than its
    /// known size, the rest then written as zeros; the chunk is closed anyway.
    [[nodiscard]] int endPut();
    /// beginPut, put and endPut; 16 for a negative size.
    [[nodiscard]] int putChunk(TiffTag tag, Tint32 size, const void* data);
    /// A chunk whose data begins with the 4-byte type; size counts the data
    /// (16 when negative).
    [[nodiscard]] int putTypedChunk(TiffTag tag, Tint32 size, const void* data, TiffTag type);
    /// The next header at this level (FLbgnget): 0 for a data chunk, 31 for a
    /// group, 1 at the end of the group or file.
    [[nodiscard]] int beginGet(TiffTag& tag, Tint32* size);
    [[nodiscard]] int endGet();
    /// The next data chunk whole, in a buffer of the object's (valid until the
    /// next such call); null with the code: 25 outside every group, 31 for a
    /// group's header, 16 for an unknown size, 8 for more than the file holds.
    [[nodiscard]] const void* getChunk(TiffTag& tag, Tint32* size);
    /// The same in new memory that the caller frees with free().
    [[nodiscard]] void* readChunk(TiffTag& tag, Tint32* size);
    /// getChunk of a chunk that begins with a type: the data after it; size
    /// is that of the data. 16 for a chunk shorter than the type.
    [[nodiscard]] const void* getTypedChunk(TiffTag& tag, Tint32* size, TiffTag& type);
    [[nodiscard]] void* readTypedChunk(TiffTag& tag, Tint32* size, TiffTag& type);
    /// Block writing (FLbgnwbchunk / FLendwbchunk).
    [[nodiscard]] void* beginWriteBufferedChunk(TiffTag tag, Tint32 size);
    [[nodiscard]] int endWriteBufferedChunk(Tint32 size);

    // -- Groups ------------------------------------------------------------------

    /// Opens a group (FLbgnwgroup), buffered or not: 3 for an identifier
    /// that is not a group's or a type whose first byte has its top bit set,
    /// 34 for a reserved identifier with a digit (FOR2), 12 for a property
    /// group at the root, 14 for one outside a list, 29 while a chunk is open.
    [[nodiscard]] int beginWriteGroup(TiffTag id, TiffTag type);
    /// Closes the innermost group: 25 when none is open.
    [[nodiscard]] int endWriteGroup();
    /// Reads the next header and enters it when it is a group: 0 with its
    /// identifier and type; 32 for a data chunk (left open); 1 at the end.
    [[nodiscard]] int beginReadGroup(TiffTag& id, TiffTag& type);
    /// Leaves the innermost group: 25 at the root.
    [[nodiscard]] int endReadGroup();
    [[nodiscard]] int skipGroup();

    // -- Parsing -------------------------------------------------------------------

    void setFormCallback(FormCallback callback) noexcept { fForm = callback; }
    void setListCallback(ListCallback callback) noexcept { fList = callback; }
    void setLeafCallback(LeafCallback callback) noexcept { fLeaf = callback; }
    /// Receives the calls instead of the functions (null: back to them).
    void setCallbackObject(TiffParserCallback* object) noexcept { fCallbackObject = object; }
    /// Walks the file from the current level: entering every group (form or
    /// property groups to the form hook, concatenations and lists to the list
    /// hook), handing every data chunk to the leaf hook (skipped without
    /// one), and calling the leaf hook with "GEND" and size 0 at the end of
    /// each level. Returns 0, a hook's non-zero result, or the library's
    /// code; "file incomplete" at the root ends it quietly (0).
    [[nodiscard]] int parse();
    /// Ends the parse under way after the current hook returns.
    void endParse() noexcept { fParseEnded = true; }

    // -- Class-wide ----------------------------------------------------------------

    static void setBufferingMode(bool on) noexcept;
    static bool bufferingMode() noexcept;
    /// The four bytes reversed.
    static TuInt32 swapWord(TuInt32 value) noexcept;
    /// The two bytes exchanged.
    static TuInt16 swapHalf(TuInt16 value) noexcept;
    /// Copies the chunk structure of from (read from its current level) into
    /// to: groups as groups, data chunks with their sizes. -1 when either
    /// file is closed; 16 for a data chunk of unknown size; otherwise the
    /// first failing code of either file.
    [[nodiscard]] static int copy(TiffFile& from, TiffFile& to);

    /// Decoders of chunk contents: each reads at cursor, decreases remaining
    /// by what it read and returns the cursor past it. With fewer bytes left
    /// than needed the value is 0 (false, "") and nothing is read.
    /// A big-endian 32-bit value.
    static const char* popTuInt32(TuInt32& value, TuInt32& remaining, const char* cursor) noexcept;
    static const char* popTbyte(Tbyte& value, TuInt32& remaining, const char* cursor) noexcept;
    /// True only for the byte 1.
    static const char* popTboolean(Tboolean& value, TuInt32& remaining, const char* cursor) noexcept;
    /// A zero-terminated text (its terminator consumed; one byte for "").
    /// Without a terminator before the end, the remaining bytes are the text.
    static const char* popTstring(Tstring& value, TuInt32& remaining, const char* cursor) noexcept;

private:
    int parseLevel(int depth);
    int leafHook(TiffTag tag, Tint32 size);
    /// The chunk being buffered now, or null when this file buffers nothing.
    bool buffering() const noexcept;
    int appendBuffered(const void* data, std::size_t length);
    int flushBufferedUnbuffered();
    int endBufferedGroup();
    /// Writes out (or, without write, drops) a group or chunk this file still
    /// buffers, on closing.
    int finishBuffered(bool write);
    /// Makes this object the owner of from's buffered group, if it has one.
    void takeBuffered(const TiffFile& from) noexcept;
    const void* loadChunk(TiffTag& tag, Tint32* size, std::vector<char>& into);

    _FLfile* fFile = nullptr;
    bool fIsImage = false;
    bool fParseEnded = false;
    FormCallback fForm = nullptr;
    ListCallback fList = nullptr;
    LeafCallback fLeaf = nullptr;
    TiffParserCallback* fCallbackObject = nullptr;
    std::vector<char> fBuffer;
    std::vector<char> fWriteBuffer;
};
