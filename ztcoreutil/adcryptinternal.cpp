// The stored forms of a password. See adcryptinternal.h.
#include "ztcoreutil/adcryptinternal.h"

#include <algorithm>
#include <cstdio>

#include "ztcoreutil/admbcsstring.h"
#include "ztcoreutil/mxmessage.h"
#include "ztcoreutil/mxmsgexception.h"

const Code_Unit szFIPSModePrefix[] = u"FIPS";
const Code_Unit szSHA1ModePrefix[] = u"SHA-1:";

namespace {

constexpr Code_Unit Digits[] = u"0123456789abcdef";
constexpr Code_Unit Digit_Texts[16][2] = {
    {u'0', 0}, {u'1', 0}, {u'2', 0}, {u'3', 0}, {u'4', 0}, {u'5', 0}, {u'6', 0}, {u'7', 0},
    {u'8', 0}, {u'9', 0}, {u'a', 0}, {u'b', 0}, {u'c', 0}, {u'd', 0}, {u'e', 0}, {u'f', 0}};

AdCryptStatus Failure(const Code_Unit* Expression, int Line) { return {Expression, Line}; }

bool Is_Lead(Code_Unit Unit) { return (Unit & 0xFC00) == 0xD800; }

// The next character: two units on a high surrogate that has a second unit, else one,
// so that a lone high surrogate before the terminator never steps past it.
const Code_Unit* Next_Char(const Code_Unit* P) { return P + (Is_Lead(P[0]) && P[1] ? 2 : 1); }

uint32_t Addend(unsigned long Index) { return AdRandomNumbers[Index % AdRandomNumbers_Count]; }

// The checksum of Bytes, then of Extra's units, with the closing term.
unsigned long Sum_Of(const std::string& Bytes, const Code_Unit* Extra) {
    uint32_t sum = 0;
    const unsigned long n = Bytes.size();
    for (unsigned long i = 0; i < n; ++i) sum += Addend(static_cast<unsigned char>(Bytes[i]) + i);
    unsigned long m = 0;
    if (Extra) {
        for (; Extra[m]; ++m) sum += Addend(Extra[m] + n + m);
    }
    sum += Addend(n + m);
    return sum;
}

long Units_Of(const Code_Unit* Text) {
    long length = 0;
    if (Text)
        while (Text[length]) ++length;
    return length;
}

int Digit_Value(Code_Unit Unit) {
    for (int digit = 0; digit < 16; ++digit)
        if (Digits[digit] == Unit) return digit;
    return -1;
}

}  // namespace

unsigned long AdEncodeChars(const Code_Unit* Text, long Length) {
    uint32_t sum = 0;
    for (long i = 0; i < Length; ++i) sum += Addend(static_cast<unsigned long>(Text[i]) + i);
    sum += Addend(Length < 1 ? 0 : static_cast<unsigned long>(Length));
    return sum;
}

AdCryptStatus AdCryptEncodeCharsInternal(const Code_Unit* Text, long Length,
                                         const AdCharset& Charset, const Code_Unit* Extra,
                                         unsigned long& Sum) {
    Sum = 0;
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(Charset, Text ? Text : u"", Text ? static_cast<int>(Length) : 0,
                            AdCharset::cvt_stop))
        return Failure(u"cvtFromTchar(text)", __LINE__);
    Sum = Sum_Of(bytes.getString(), Extra);
    return {};
}

AdCryptStatus AdCryptEncryptPassword(const Code_Unit* Username, const Code_Unit* Password,
                                     const AdCharset& Charset, int Separate, Fnd_String& Out) {
    Out.Make_Empty();
    if (!AdCryptIsNonEmpty(Username)) return Failure(u"AdCryptIsNonEmpty(username)", __LINE__);
    unsigned long sum = 0;
    if (Separate) {
        const AdCryptStatus status =
            AdCryptEncodeCharsInternal(Username, Units_Of(Username), Charset, Password, sum);
        if (!status.Ok()) return status;
    } else {
        Fnd_String joined(Username);
        if (Password) joined.Append(Password);
        const AdCryptStatus status = AdCryptEncodeCharsInternal(
            joined.Data(), joined.Get_Length(), Charset, nullptr, sum);
        if (!status.Ok()) return status;
    }
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(sum & 0xFFFFFFFFu));
    for (const char* p = digits; *p; ++p) Out.Append(static_cast<Code_Unit>(*p));
    return {};
}

void EncryptUsingOneTimePad(const unsigned Count, unsigned char* Data) {
    for (unsigned i = 0; i < Count; ++i) Data[i] ^= AdCryptPad[i % AdPad_Count];
}

AdCryptStatus AdCryptEncodeHex(const unsigned long Digit, const Code_Unit*& Out) {
    Out = nullptr;
    if (Digit >= 16) return Failure(u"digit < 16", __LINE__);
    Out = Digit_Texts[Digit];
    return {};
}

Fnd_String ConvertBinaryToPrintableText(const unsigned Count, const unsigned char* Data) {
    Fnd_String text(static_cast<long>(Count) * 2, 1L);
    for (unsigned i = 0; i < Count; ++i) {
        text.Append(Digits[Data[i] & 15]);
        text.Append(Digits[Data[i] >> 4]);
    }
    return text;
}

unsigned ConvertPrintableTextToBinary(const Code_Unit* Text, unsigned char* Data) {
    unsigned count = 0;
    if (!Text) return 0;
    const Code_Unit* p = Text;
    while (*p) {
        const Code_Unit* high = Next_Char(p);
        if (!*high) break;  // a lone last character
        const int low_value = Digit_Value(*p);
        const int high_value = Digit_Value(*high);
        Data[count++] = static_cast<unsigned char>((low_value < 0 ? 0 : low_value) |
                                                   (high_value < 0 ? 0 : high_value) << 4);
        p = Next_Char(high);
    }
    return count;
}

AdCryptStatus AdCryptEncryptReversibly(const Code_Unit* Text, const AdCharset& Charset,
                                       const int Version, Fnd_String& Out) {
    Out.Make_Empty();
    if (!AdCryptIsNonEmpty(Text)) return Failure(u"AdCryptIsNonEmpty(the_string)", __LINE__);
    const AdCharset& encoding = Version >= 7 ? AdCharset::getUTF8Charset() : Charset;
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(encoding, Text, AdCharset::cvt_stop))
        return Failure(u"cvtFromTchar(the_string)", __LINE__);
    const std::string& clear = bytes.getString();
    AdArrayGuard scratch(clear.size() + 1);
    std::copy(clear.begin(), clear.end(), scratch.Data());
    scratch.Data()[clear.size()] = 0;
    EncryptUsingOneTimePad(static_cast<unsigned>(scratch.Count()), scratch.Data());
    Out = ConvertBinaryToPrintableText(static_cast<unsigned>(scratch.Count()), scratch.Data());
    return {};
}

AdCryptStatus AdCryptEncryptSHA1(const Code_Unit* Text, const AdCharset& Charset,
                                 Fnd_String& Out) {
    return AdCryptEncryptReversibly(Text, Charset, 7, Out);
}

AdCryptStatus AdCryptDecryptString(const Code_Unit* Text, const AdCharset& Charset,
                                   Fnd_String& Out) {
    Out.Make_Empty();
    if (!AdCryptIsNonEmpty(Text)) return Failure(u"AdCryptIsNonEmpty(reversible_str)", __LINE__);
    if (!AdIsReversiblyEncryptedStringInternal(Text))
        return Failure(u"AdIsReversiblyEncryptedStringInternal(reversible_str)", __LINE__);
    // No operation makes a FIPS-prefixed text, so there is nothing to read back from one.
    if (AdIsEncryptStringFIPSCompliant(Text))
        return Failure(u"!AdIsEncryptStringFIPSCompliant(reversible_str)", __LINE__);
    AdArrayGuard scratch(static_cast<size_t>(Units_Of(Text)) / 2);
    const unsigned count = ConvertPrintableTextToBinary(Text, scratch.Data());
    EncryptUsingOneTimePad(count, scratch.Data());
    // A text made by the reversible form holds its clear bytes and then one zero byte.
    if (count < 2) return Failure(u"count >= 2", __LINE__);
    for (unsigned i = 0; i + 1 < count; ++i)
        if (scratch.Data()[i] == 0) return Failure(u"clear_bytes[i] != 0", __LINE__);
    if (scratch.Data()[count - 1] != 0) return Failure(u"clear_bytes[count - 1] == 0", __LINE__);
    AdMbcsString bytes(Charset, reinterpret_cast<const char*>(scratch.Data()),
                       static_cast<int>(count));
    if (!bytes.cvtToTchar(Out, AdCharset::cvt_stop)) {
        Out.Make_Empty();
        return Failure(u"cvtToTchar(clear_bytes)", __LINE__);
    }
    return {};
}

int AdIsEncryptStringFIPSCompliant(const Code_Unit* Text) {
    if (!AdCryptIsNonEmpty(Text)) return 0;
    for (long i = 0; szFIPSModePrefix[i]; ++i)
        if (Text[i] != szFIPSModePrefix[i]) return 0;
    return 1;
}

int AdIsReversiblyEncryptedStringInternal(const Code_Unit* Text) {
    if (!AdCryptIsNonEmpty(Text)) return 0;
    if (AdIsEncryptStringFIPSCompliant(Text)) return 1;
    long count = 0;
    for (const Code_Unit* p = Text; *p; p = Next_Char(p), ++count) {
        int found = 0;
        if (!AdCryptOccursIn(p, Digits, found).Ok() || !found) return 0;
    }
    return count % 2 == 0 ? 1 : 0;
}

int AdCryptIsSameChar(const Code_Unit* A, const Code_Unit* B) {
    if (!A || !B) return !A && !B;
    if (A[0] == 0 || B[0] == 0) return A[0] == B[0];
    if (A[0] != B[0]) return 0;
    const int length = Is_Lead(A[0]) ? 2 : 1;
    if (length != (Is_Lead(B[0]) ? 2 : 1)) return 0;
    for (int i = 1; i < length; ++i)
        if (A[i] != B[i]) return 0;
    return 1;
}

int AdCryptIsNonEmpty(const Code_Unit* Text) { return Text != nullptr && Text[0] != 0; }

AdCryptStatus AdCryptOccursIn(const Code_Unit* Char, const Code_Unit* Set, int& Found) {
    Found = 0;
    if (!Char) return Failure(u"a_char != 0", __LINE__);
    if (!Char[0]) return Failure(u"!AdCryptIsCharNul(a_char)", __LINE__);
    if (!AdCryptIsNonEmpty(Set)) return {};
    for (const Code_Unit* p = Set; *p; p = Next_Char(p)) {
        if (AdCryptIsSameChar(Char, p)) {
            Found = 1;
            break;
        }
    }
    return {};
}

// ---- The failure path: every failure is an MxMsgException of message 18019

namespace {

// The source text of the failures: message 18017, read again while reading fails.
const Fnd_String& Failure_Source() {
    static Fnd_String source;
    static bool loaded = false;
    if (!loaded) {
        MxMessage message(18017);
        source = message.Msg();
        loaded = !message.Load_Failed();
    }
    return source;
}

// Throws the failure that Status holds; returns when there is none.
void Check(const AdCryptStatus& Status) {
    if (Status.Ok()) return;
    MxMessage message(18019);
    AdCryptThrowMsgExcept(message, Status.Failed_Expr, u"" __FILE__, Status.Line);
}

}  // namespace

void AdCryptThrowMsgExcept(MxMessage& Message, const Code_Unit* Failed_Expr, const Code_Unit* File,
                           int Line) {
    Message.Source(Failure_Source().Data(), File, Line);
    Message.Type(MxMsg_Error);
    Message.Dest(MxMsgDest(1));
    Message.SetParam(u"failed_expr", Failed_Expr);
    const Fnd_String location = Message.Source();
    Message.SetParam(u"failure_location", location.Data());
    ThrowMxMsgException(Message);
}

unsigned long AdEncodeCharsInternal(const Code_Unit* Text, long Length, const AdCharset& Charset,
                                    const Code_Unit* Extra) {
    unsigned long sum = 0;
    Check(AdCryptEncodeCharsInternal(Text, Length, Charset, Extra, sum));
    return sum;
}

Fnd_String AdEncryptPasswordInternal(const Code_Unit* Username, const Code_Unit* Password,
                                     const AdCharset& Charset, int Separate) {
    Fnd_String out;
    Check(AdCryptEncryptPassword(Username, Password, Charset, Separate, out));
    return out;
}

Fnd_String AdEncryptStringReversiblyInternal(const Code_Unit* Text, const AdCharset& Charset,
                                             const int Version) {
    Fnd_String out;
    Check(AdCryptEncryptReversibly(Text, Charset, Version, out));
    return out;
}

Fnd_String AdEncryptSHA1Internal(const Code_Unit* Text, const AdCharset& Charset) {
    Fnd_String out;
    Check(AdCryptEncryptSHA1(Text, Charset, out));
    return out;
}

Fnd_String AdDecryptStringInternal(const Code_Unit* Text, const AdCharset& Charset) {
    Fnd_String out;
    Check(AdCryptDecryptString(Text, Charset, out));
    return out;
}

const Code_Unit* EncodeHex(const unsigned long Digit) {
    const Code_Unit* text = nullptr;
    Check(AdCryptEncodeHex(Digit, text));
    return text;
}

int AdCryptOccursIn(const Code_Unit* Char, const Code_Unit* Set) {
    int found = 0;
    Check(AdCryptOccursIn(Char, Set, found));
    return found;
}
