// A packed array of bits. Bit i lives in word i / 32 at the value 1 << (i % 32). The word
// table grows one word at a time when appending and to what an indexed write needs, and
// never shrinks. The text form is the fill flag ("0"/"1"), the bit count in decimal,
// and for each word of the table "_" and the word in decimal: "03_0".
#pragma once

#include <cstdint>

class Fnd_String;

class Utl_Bit_Array {
public:
    // Size / 32 words, at least 1, all zero; no bits in use.
    explicit Utl_Bit_Array(long Size = 32, long Fill = 1);
    // From the text form. An empty text gives one zero word, fill 1 and no bits; a text
    // that contradicts itself is read as far as it makes sense, never beyond its words.
    explicit Utl_Bit_Array(const Fnd_String& Archive);
    Utl_Bit_Array(const Utl_Bit_Array& Other);
    // Keeps its own fill flag.
    Utl_Bit_Array& operator=(const Utl_Bit_Array& Other);
    virtual ~Utl_Bit_Array();

    // A shared array built with 1, 1.
    static Utl_Bit_Array& Null();

    long Get_Count() const { return Bit_Count; }
    long Get_Word_Count() const { return Word_Count; }
    long Get_Fill() const { return Fill; }
    // The bit at Index (0 or 1); 0 past the count.
    long Get(long Index) const;

    void Add(long Bit);
    // Past the count the array extends; with the fill flag the bits between are cleared.
    void Set(long Index, long Bit);
    void Delete(long Index);
    // To is inclusive.
    void Delete(long From, long To);
    void Insert(long Index, long Bit);
    void Insert(long Index, const Utl_Bit_Array& Other);
    // Overwrites from Index with the bits of Other, growing where it runs past the end.
    void Replace(long Index, const Utl_Bit_Array& Other);
    // The bit count less N, floored at 0.
    void Shorten(long N);

    // 1 when no bit in use is set (or all are); an empty array gives 1 for both.
    long Is_Zero() const;
    long Is_Ones() const;
    // 1 when the bit at Index is set and no other; an empty array gives 1.
    long Single_Bit_Set(long Index) const;

    void Archive(Fnd_String& Out) const;

private:
    uint32_t* Words;
    int32_t Bit_Count = 0;
    int32_t Word_Count;
    int32_t Fill;

    void Ensure_Words(long Count);
    void Put(long Index, long Bit);
    void Check_Index(long Index, long Last) const;
};
