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

    // The class trace level.
    static inline int32_t trace = 0;
    static void Set_Trace(long Level) { trace = static_cast<int32_t>(Level); }
    // The character that marks an indirect pattern.
    static constexpr Code_Unit Indirect_Char = u'@';

    // Zeroes the flags and drops the expressions (everything matches); the texts stay.
    void Reset();
    // A new pattern under the same flags.
    void Replace(const Fnd_String& Pattern);
    // More names: cut at "|" (a text without one is one name), or with no expression
    // yet a set in braces or one name.
    void Add(const Fnd_String& Pattern);
    // The other's expressions, in order, by the rules of Add; a wild one's are turned
    // back into names first.
    void Merge(const Utl_Name_Matcher& Other);
    // "^" Name "$".
    static void Make_Exact(const Fnd_String& Name, Fnd_String& Result);
    // The flags and the source text; the expressions are not compared.
    bool operator==(const Utl_Name_Matcher& Other) const;
    // Appends the source with each "|" a blank.
    void Image(Fnd_String& Out) const;
    Fnd_String Image() const;
    // The expression at Index (a name again when wild); empty outside 0 to count - 1.
    void Get_Member(Fnd_String& Out, long Index) const;
    // Replaces the expression at Index by that of Text; the source stays. Nothing
    // happens outside the range.
    void Set_Member(const Fnd_String& Text, long Index);
    // A wild expression back to the name it came from.
    static Fnd_String demassage(const Fnd_String& Expression);

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
    void Store_Expression(const Fnd_String& Expression);
    void Set_Items(const Fnd_String& Pattern);
    void Keep_Invariant();
    void Add_Items(const Fnd_String& Pattern, long Keep_First_Tail);
    const Fnd_String& Expression_At(long Index) const {
        return Count == 1 ? Singleton : *Regexps[Index];
    }
    void Store_Singleton(const Fnd_String& Name);
};
