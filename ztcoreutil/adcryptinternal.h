// The stored forms of a password: a one-way checksum of user name and password printed
// as eight hexadecimal digits, and a reversible form, the text's bytes and a zero byte
// combined with a fixed pad and printed as digits, the low nibble of each byte first.
//
//   Fnd_String stored = AdEncryptStringReversiblyInternal(u"secret", AdCharset::getUTF8Charset(), 7);
//   Fnd_String clear = AdDecryptStringInternal(stored.Data(), AdCharset::getUTF8Charset());
//
// Each routine that can fail comes in two forms: the AdCrypt... form reports the failure
// as an AdCryptStatus, the Ad...Internal form throws it as an MxMsgException.
//
// The reversible form keeps a password out of plain sight only: anybody who can read
// the stored text and has this library can read the password. The protection of a file
// holding it is the file's mode.
//
// The tables are constant data of the system, generated once and fixed for good
// (adcrypttables.cpp): a stored text can only be read back with the pad it was made with.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/base/fnd_code_unit.h"
#include "foundation/base/fnd_string.h"
#include "ztcoreutil/adcharset.h"

class MxMessage;

constexpr unsigned AdRandomNumbers_Count = 2048;
constexpr unsigned AdPad_Count = 2560;
// The addends of the checksum, one for each (character + position) modulo 2048.
extern const uint32_t AdRandomNumbers[AdRandomNumbers_Count];
// The mask of the reversible form, and one terminating byte that is not used.
extern const unsigned char AdCryptPad[AdPad_Count + 1];

// A text that begins with it counts as reversibly encrypted whatever follows.
extern const Code_Unit szFIPSModePrefix[];
// Defined and used by no operation.
extern const Code_Unit szSHA1ModePrefix[];

// The outcome of a routine that can fail: the expression that did not hold (with the
// message number 18019 it becomes the routine's exception) and the source line.
struct AdCryptStatus {
    const Code_Unit* Failed_Expr = nullptr;
    int Line = 0;

    bool Ok() const { return Failed_Expr == nullptr; }
};

// The scratch bytes of a conversion; freed on every way out.
class AdArrayGuard {
public:
    explicit AdArrayGuard(size_t Count) : Bytes(Count) {}
    unsigned char* Data() { return Bytes.data(); }
    size_t Count() const { return Bytes.size(); }

private:
    std::vector<unsigned char> Bytes;
};

// ---- The checksum

// Sum of R[(Text[i] + i) % 2048] over the units, then R[Length % 2048], modulo 2^32.
// A Length below 1 adds only the last term.
[[nodiscard]] unsigned long AdEncodeChars(const Code_Unit* Text, long Length);
// The same over the bytes of Text in Charset (strict conversion), then over the units of
// Extra (if not null) with positions running on from the byte count.
[[nodiscard]] AdCryptStatus AdCryptEncodeCharsInternal(const Code_Unit* Text, long Length,
                                                       const AdCharset& Charset,
                                                       const Code_Unit* Extra,
                                                       unsigned long& Sum);
// "%08x" of the checksum of Username with Password: as Extra (its 16-bit units count)
// when Separate, else appended to Username. An empty Username fails.
[[nodiscard]] AdCryptStatus AdCryptEncryptPassword(const Code_Unit* Username,
                                                   const Code_Unit* Password,
                                                   const AdCharset& Charset, int Separate,
                                                   Fnd_String& Out);

// ---- The reversible form

// Each byte at index i is xored with the pad's byte at i % 2560. Its own inverse.
void EncryptUsingOneTimePad(const unsigned Count, unsigned char* Data);
// The digit text of 0 to 15; anything else fails with "digit < 16".
[[nodiscard]] AdCryptStatus AdCryptEncodeHex(const unsigned long Digit, const Code_Unit*& Out);
// Two digits a byte, the low nibble first.
Fnd_String ConvertBinaryToPrintableText(const unsigned Count, const unsigned char* Data);
// Back: pairs of characters, low nibble first; a character that is not one of the
// sixteen lower-case digits counts as 0. Writes (characters / 2) bytes: Data needs that
// room. A lone last character is ignored, and a null or empty Text writes nothing.
// Returns the number of bytes written.
unsigned ConvertPrintableTextToBinary(const Code_Unit* Text, unsigned char* Data);
// The reversible form of Text in Charset, or in UTF-8 from Version 7 on. An empty Text
// or one that does not convert fails.
[[nodiscard]] AdCryptStatus AdCryptEncryptReversibly(const Code_Unit* Text,
                                                     const AdCharset& Charset,
                                                     const int Version, Fnd_String& Out);
// The reversible form in UTF-8; computes no digest. Charset is not used.
[[nodiscard]] AdCryptStatus AdCryptEncryptSHA1(const Code_Unit* Text, const AdCharset& Charset,
                                               Fnd_String& Out);
// Back from the reversible form made with Charset. Out ends in one zero unit behind the
// clear text (its length is one more). Fails on an empty text, one of the wrong shape,
// one with the FIPS prefix, a decoded text that does not end in its zero byte or holds
// another zero byte, and bytes that do not convert.
[[nodiscard]] AdCryptStatus AdCryptDecryptString(const Code_Unit* Text, const AdCharset& Charset,
                                                 Fnd_String& Out);
// 1 if Text begins with "FIPS", or is an even number of lower-case hexadecimal digits.
[[nodiscard]] int AdIsReversiblyEncryptedStringInternal(const Code_Unit* Text);
// 1 if Text is not empty and begins with "FIPS".
[[nodiscard]] int AdIsEncryptStringFIPSCompliant(const Code_Unit* Text);

// ---- Character helpers

// Whether the first characters (one or two units) are equal; null matches only null.
[[nodiscard]] int AdCryptIsSameChar(const Code_Unit* A, const Code_Unit* B);
// Non-null and not beginning with the terminator.
[[nodiscard]] int AdCryptIsNonEmpty(const Code_Unit* Text);
// Whether the first character of Char stands in Set. A null or empty Char fails.
[[nodiscard]] AdCryptStatus AdCryptOccursIn(const Code_Unit* Char, const Code_Unit* Set,
                                            int& Found);

// ---- The throwing forms: a failure is an MxMsgException (thrown by pointer, ended by
// the catcher with Delete) holding message 18019 with the parameters "failed_expr" and
// "failure_location".

// Fills Message (of number 18019) with its source, type, destination and parameters and
// throws it.
[[noreturn]] void AdCryptThrowMsgExcept(MxMessage& Message, const Code_Unit* Failed_Expr,
                                        const Code_Unit* File, int Line);
[[nodiscard]] unsigned long AdEncodeCharsInternal(const Code_Unit* Text, long Length,
                                                  const AdCharset& Charset, const Code_Unit* Extra);
Fnd_String AdEncryptPasswordInternal(const Code_Unit* Username, const Code_Unit* Password,
                                     const AdCharset& Charset, int Separate);
Fnd_String AdEncryptStringReversiblyInternal(const Code_Unit* Text, const AdCharset& Charset,
                                             const int Version);
Fnd_String AdEncryptSHA1Internal(const Code_Unit* Text, const AdCharset& Charset);
Fnd_String AdDecryptStringInternal(const Code_Unit* Text, const AdCharset& Charset);
[[nodiscard]] const Code_Unit* EncodeHex(const unsigned long Digit);
[[nodiscard]] int AdCryptOccursIn(const Code_Unit* Char, const Code_Unit* Set);
