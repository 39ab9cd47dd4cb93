#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/iff/TiffTag.h"

#include <string_view>

class Tmetaclass;
class TiffTable;
class TnameTable;
class TdataLetter;

/// The registry of typed-data classes: one TmetaLetter per class, made with
/// the class's record (usually a static object beside the record), maps the
/// class's chunk tag and name back to the record, so that a tag met in a
/// file or a type name met in text becomes a new letter of the right class.
///
/// The first class registered under a tag or a name keeps it; a later one
/// is simply not found under it. Destroying a TmetaLetter removes only the
/// entries it made. Registration belongs to start-up (static
/// initialisation) or to times when no other thread reads the registry;
/// lookups may then run on any thread. The library's own letter classes
/// are registered by the first lookup (construct or findTypeid), so that a
/// static build, which drops object files nothing refers to, knows them
/// all; read fsIffTable and fsNameTable directly only after a lookup.
class GRUNDEL_API TmetaLetter {
public:
    /// Registers record under typeName (the name its letters use after
    /// "-type" in text; null for the record's own name) and, when it has
    /// one, its tag. A null record registers nothing.
    explicit TmetaLetter(Tmetaclass* record, const char* typeName = nullptr);
    ~TmetaLetter();
    TmetaLetter(const TmetaLetter&) = delete;
    TmetaLetter& operator=(const TmetaLetter&) = delete;

    /// Tag value to class record; made by the first TmetaLetter.
    static TiffTable* fsIffTable;
    /// Type name to class record; made by the first TmetaLetter.
    static TnameTable* fsNameTable;

    /// A new letter (no references) of the class registered under tag; a
    /// new TdataUnknown keeping tag when none is. Null when the class
    /// registered is not a letter (Tdata itself, under DBLE) or cannot be
    /// made.
    [[nodiscard]] static TdataLetter* construct(TiffTag tag);
    /// The same by type name; an unknown name gives a TdataUnknown keeping
    /// the name. A null name is taken as "".
    [[nodiscard]] static TdataLetter* construct(const char* name);
    [[nodiscard]] static TdataLetter* construct(std::string_view name);
    /// The record registered under tag or name, or null (also for a null
    /// or empty name).
    static Tmetaclass* findTypeid(TiffTag tag) noexcept;
    static Tmetaclass* findTypeid(const char* name) noexcept;
    static Tmetaclass* findTypeid(std::string_view name) noexcept;

    /// A new letter of this class (no references), or null.
    [[nodiscard]] TdataLetter* createDataLetter() const;
    Tmetaclass* metaclass() const noexcept { return fRecord; }
    TiffTag iffTag() const noexcept;
    /// The name registered (the type name); never null.
    const char* name() const noexcept;
    TuInt16 typeId() const noexcept;

private:
    static void makeTables();

    Tmetaclass* fRecord;
    const char* fName;
    bool fOwnsName = false; // the entries this registration made
    bool fOwnsTag = false;
};
