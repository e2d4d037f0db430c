// Decides whether a name belongs to a pattern that a user typed: one name, names split
// by "|", or a set in braces ("{a, b}"). With the wild flag each name may carry the
// wild characters of a file name and is turned into a regular expression once; without
// it each name is a regular expression already. An empty pattern matches everything.
//
//   Utl_Name_Matcher matcher(u"*.txt|notes", 0, 1, 1);
//   if (matcher.Match(name)) ...
#pragma once

#include <cstdint>

#include "foundation/base/fnd_string.h"

class Utl_Name_Matcher {
public:
    Utl_Name_Matcher();
    Utl_Name_Matcher(const Fnd_String& Pattern, long Ignore_Case, long Wild, long Base_Only);
    Utl_Name_Matcher(const Utl_Name_Matcher& Other);
    Utl_Name_Matcher& operator=(const Utl_Name_Matcher& Other) = delete;
    virtual ~Utl_Name_Matcher();

    // 1 when the name belongs to the pattern. A pattern covers the whole name.
    long Match(const Fnd_String& Name) const;
    // 0 for no expression (all match), 1 for one, 2 for more.
    long Get_Match_Kind() const { return Count == 0 ? 0 : (Count == 1 ? 1 : 2); }
    long Get_Count() const { return Count; }
    const Fnd_String& Get_Source() const { return Source; }

private:
    int32_t Ignore_Case = 0;
    int32_t Wild = 0;
    int32_t Base_Only = 0;
    Fnd_String Source;
    Fnd_String Singleton;
    int32_t Count = 0;
    Fnd_String** Regexps = nullptr;
    int32_t Capacity = 0;

    void Set_Pattern(const Fnd_String& Pattern);
    void Release();
    Fnd_String Expression(const Fnd_String& Name) const;
    void Store_Name(const Fnd_String& Name);
    void Store_Singleton(const Fnd_String& Name);
};
