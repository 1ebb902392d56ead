#pragma once
// The two text resources and their lookups.
//
// "TXT" 2000 holds the program's own words (the generic codec's port labels,
// the failures of loading, the map errors). The application reads it into one
// table at start with LoadTextResource and looks texts up with GetText.
//
// "SSTR" 1000 holds the framework's words (menu titles, buttons, key names).
// The GUI library serves them, asked by a key such as "SSTR/1000/11";
// GetResourceText and its four helpers ask it through IResourceTextSource.
// Until a GUI library is plugged in (and in programs that have none) the
// embedded resources answer themselves.
//
// Both resources are linked into the program (EmbeddedResources.h), so none
// of this reads a file. Any thread may call these functions.

#include "foundation/StringScript.h"
#include "foundation/Types.h"

#include <span>
#include <string_view>

// The bytes of an embedded resource; an assertion failure and no bytes when
// the program holds none of that type and number.
std::span<const u8> GetEmbeddedResource(std::string_view type, u32 number);

// The texts of one "TXT" resource, looked up by id.
class CTextTable
{
public:
    // Parses the resource (NSStringScript::Parse) unless the table holds texts
    // already: the first fill wins.
    void Load(u32 resourceNumber);
    // As Load, from a script of its own.
    void Load(const TStringMap& texts);
    bool IsEmpty() const;
    // An empty table or an unknown id is an assertion failure and an empty text.
    TText16 Get(u32 id) const;

private:
    TStringMap fTexts;
};

// Fills the program's table from the "TXT" resource of that number; the first
// call wins. Resources are linked into the program, so no module is named.
void LoadTextResource(u32 resourceNumber);
// The text of `id` in the program's table; see CTextTable::Get.
TText16 GetText(u32 id);
// The text of `id` in the program's own texts ("TXT" 2000), filling the table
// from them first if nobody has (the tools and the tests have nobody to).
TText16 GetProgramText(u32 id);

namespace NSVistalUtils
{
// Receives the text that a resource text source hands out.
class ITextGetter
{
public:
    virtual void ITextGetter_SetText(std::u16string_view text) = 0;

protected:
    ~ITextGetter() = default;
};

// What the GUI library offers for its resource texts; the host's IVistal
// adapter implements it. A source that knows no text for a key hands out
// nothing and succeeds.
class IResourceTextSource
{
public:
    // key: type, '/', resource number, '/', index, as "SSTR/1000/11".
    // Returns a status word of the GUI edge (kVistalOK on success).
    virtual u32 IResourceTextSource_GetText(const char* key, ITextGetter& getter) = 0;

protected:
    ~IResourceTextSource() = default;
};

// Installs the source that GetResourceText asks; null puts back the one over
// the embedded resources. The caller keeps the source alive while installed.
void SetResourceTextSource(IResourceTextSource* source);

// Asks the installed source for a text; a failing status becomes its
// exception (ThrowVistalResult). Nothing handed out gives an empty text.
TText16 GetResourceText(std::string_view type, u32 resourceNumber, u32 index);

// Compound resource identifiers: kind * 100000000 + resource number * 10000 + index.
enum EResourceKind : i32
{
    kResourceString = 4, // "SSTR"
    kResourceAlert = 5,  // "SALR"
    kResourceMenu = 6,   // "SMNU"
    kResourceHelp = 7    // "SHLP"
};

constexpr i32 MakeResourceId(EResourceKind kind, i32 resourceNumber, i32 index)
{
    return kind * 100000000 + resourceNumber * 10000 + index;
}

// Each takes an identifier of its own kind; another kind (or -1) is an
// assertion failure and an empty text.
TText16 GetStringResource(i32 id);
TText16 GetAlertResource(i32 id);
TText16 GetMenuResource(i32 id);
TText16 GetHelpResource(i32 id);
} // namespace NSVistalUtils
