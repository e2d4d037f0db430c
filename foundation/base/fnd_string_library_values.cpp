// Fnd_String_Library: numbers, booleans, presentation of values and times, comments.
#include <climits>
#include <cstdint>

#include "foundation/base/fnd_string_library.h"
#include "ztcoreutil/tchar.h"

namespace {

// The position behind a number that ended at Stop, as an iterator on From's string.
// A Stop outside the text (which a parser must never give) counts as nothing read, so
// that a parser's fault cannot end the process through Byte_To_Char.
void Set_End(const Const_Fnd_String_Iterator& From, Const_Fnd_String_Iterator* End,
             const Code_Unit* Stop) {
    if (!End) return;
    const auto start = reinterpret_cast<uintptr_t>(static_cast<const Code_Unit*>(From));
    const auto limit =
        reinterpret_cast<uintptr_t>(From.String->Data() + From.String->Get_Length());
    const auto stop = reinterpret_cast<uintptr_t>(Stop);
    if (stop < start || stop > limit)
        *End = From;
    else
        *End = Const_Fnd_String_Iterator(From.String, From.String->Byte_To_Char(Stop));
}

// Formats one value into a work buffer of Size units.
template <class Value>
Fnd_String Formatted(long Size, const Code_Unit* Format, Value V) {
    Fnd_String text(Size, 1L);
    int length = _sntprintf(text.GetBuffer(static_cast<int>(Size)), static_cast<int>(Size),
                            Format, V);
    text.ReleaseBuffer(length >= 0 && length < Size ? length : 0);
    return text;
}

void Put(Fnd_String& Out, const Fnd_String& Text, const long Append) {
    if (Append)
        Out.Append(Text);
    else
        Out = Text;
}

}  // namespace

// ---- Numbers

long Fnd_String_Library::To_Long(const Const_Fnd_String_Iterator& From,
                                 Const_Fnd_String_Iterator* End, const int Base) {
    if (!From.Is_Valid()) {
        if (End) *End = From;
        return 0;
    }
    Code_Unit* stop = nullptr;
    long value = _tcstol(From, &stop, Base);
    Set_End(From, End, stop);
    return value;
}

unsigned long Fnd_String_Library::To_Unsigned_Long(const Const_Fnd_String_Iterator& From,
                                                   Const_Fnd_String_Iterator* End,
                                                   const int Base) {
    if (!From.Is_Valid()) {
        if (End) *End = From;
        return 0;
    }
    Code_Unit* stop = nullptr;
    unsigned long value = _tcstoul(From, &stop, Base);
    Set_End(From, End, stop);
    return value;
}

double Fnd_String_Library::To_Double(const Const_Fnd_String_Iterator& From,
                                     Const_Fnd_String_Iterator* End) {
    if (!From.Is_Valid()) {
        if (End) *End = From;
        return 0;
    }
    Code_Unit* stop = nullptr;
    double value = _tcstod(From, &stop);
    Set_End(From, End, stop);
    return value;
}

void Fnd_String_Library::To_String(Fnd_String& Out, const long Value, const int Base,
                                   const long Prefix, const long Append) {
    const Code_Unit* format = u"%ld";
    if (Base == 16) format = Prefix ? u"%#lX" : u"%lX";
    if (Base == 8) format = Prefix ? u"%#lo" : u"%lo";
    Put(Out, Formatted(32, format, Value), Append);
}

Fnd_String Fnd_String_Library::To_String(const long Value, const int Base, const long Prefix) {
    Fnd_String result;
    To_String(result, Value, Base, Prefix, 0);
    return result;
}

void Fnd_String_Library::To_String(Fnd_String& Out, const void* Value, const int Base,
                                   const long Prefix, const long Append) {
    const Code_Unit* format = u"%ld";
    if (Base == 16) format = Prefix ? u"%#lx" : u"%lx";
    if (Base == 8) format = Prefix ? u"%#lo" : u"%lo";
    Put(Out, Formatted(32, format, static_cast<long>(reinterpret_cast<intptr_t>(Value))), Append);
}

Fnd_String Fnd_String_Library::To_String(const void* Value, const int Base, const long Prefix) {
    Fnd_String result;
    To_String(result, Value, Base, Prefix, 0);
    return result;
}

// ---- Presentation

Fnd_String Fnd_String_Library::To_Presentation(int Value) { return Formatted(64, u"%i", Value); }

Fnd_String Fnd_String_Library::To_Presentation(long Value) { return Formatted(64, u"%li", Value); }

Fnd_String Fnd_String_Library::To_Presentation(unsigned Value) {
    return Formatted(64, u"%u", Value);
}

Fnd_String Fnd_String_Library::To_Presentation(unsigned long Value) {
    // ICU prints a 64-bit unsigned value above LONG_MAX as negative: such values are
    // written digit by digit.
    if (Value <= static_cast<unsigned long>(LONG_MAX)) return Formatted(64, u"%lu", Value);
    Code_Unit digits[24];
    int count = 0;
    do {
        digits[count++] = static_cast<Code_Unit>(u'0' + Value % 10);
        Value /= 10;
    } while (Value != 0);
    Fnd_String result(static_cast<long>(count), 1L);
    while (count > 0) result.Append(Fnd_Char(digits[--count]));
    return result;
}

Fnd_String Fnd_String_Library::To_Presentation(double Value) {
    // Large values need more than a fixed buffer: Format grows as needed.
    Fnd_String result;
    result.Format(u"%f", Value);
    return result;
}

Fnd_String Fnd_String_Library::To_Presentation(const struct tm& Time, const Fnd_String& Format) {
    Fnd_String result;
    if (Format.Is_Empty()) return result;
    // A result of 0 means the buffer was too small, or the text is really empty (a
    // format such as "%p" in some locales): the work buffer grows by its present size
    // up to a bound.
    for (long size = 64; size <= (1L << 20); size *= 2) {
        size_t length = _tcsftime(result.GetBuffer(static_cast<int>(size)),
                                  static_cast<size_t>(size), Format.Data(), &Time);
        if (length > 0) {
            result.ReleaseBuffer(static_cast<int>(length));
            return result;
        }
    }
    result.ReleaseBuffer(0);
    return result;
}

// The date and time as date(1) prints them. The format "%C" once gave this form on
// some systems; in the C library it is only the century, so the form is spelled out.
Fnd_String Fnd_String_Library::To_Presentation(const struct tm& Time) {
    return To_Presentation(Time, Fnd_String(u"%a %b %e %H:%M:%S %Z %Y"));
}

Fnd_String Fnd_String_Library::To_Presentation(const Fnd_Object& Object) {
    return Fnd_String(Object.Object_Type());
}

Fnd_String Fnd_String_Library::To_Ctime(const long& Time) {
    const time_t time = static_cast<time_t>(Time);
    Fnd_String result(_tctime(&time));
    long length = result.Get_Length();
    if (length > 0 && result[length - 1] == u'\n') result.Delete(length - 1, 1);
    return result;
}

Fnd_String Fnd_String_Library::To_Ctime(const struct tm& Time) {
    return Fnd_String(_tasctime(&Time));
}

// ---- Booleans

namespace {

long Is_Listed(const Fnd_String& Word, const Code_Unit* const* Images) {
    for (; *Images; ++Images)
        if (Word == *Images) return 1;
    return 0;
}

}  // namespace

void Fnd_String_Library::Get_Boolean(const Fnd_String& Text, long& Value, long& Valid) {
    const Fnd_String word = To_Lower(Text);
    if (Is_Listed(word, True_Images)) {
        Value = Valid = 1;
        return;
    }
    if (Is_Listed(word, False_Images)) {
        Value = 0;
        Valid = 1;
        return;
    }
    const Const_Fnd_String_Iterator start(&word);
    Const_Fnd_String_Iterator end;
    long number = To_Long(start, &end, 0);
    if (end == start) {
        Value = Valid = 0;
        return;
    }
    Valid = 1;
    Value = number > 0;  // text behind the number does not matter: "2x" is true
}

long Fnd_String_Library::To_Boolean(const Const_Fnd_String_Iterator& From,
                                    Const_Fnd_String_Iterator* End) {
    if (End) *End = From;
    if (!From.Is_Valid()) return 0;
    Const_Fnd_String_Iterator behind(From);
    Fnd_String token;
    Get_Token(behind, token);
    long value = 0;
    long valid = 0;
    Get_Boolean(token, value, valid);
    if (valid && End) *End = behind;
    return value;
}

// ---- Comments

long Fnd_String_Library::Is_Comment(const Fnd_String& Text) {
    return !Text.Is_Empty() && (Text[0] == u'!' || Text[0] == u'#');
}

void Fnd_String_Library::To_Comment(Fnd_String& Text) {
    if (!Is_Comment(Text)) Text.Insert(Fnd_Char(u'#'));
}
