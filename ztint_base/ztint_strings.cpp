#include "ztint_base/ztint_strings.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" char* ZTInt_String_New(const char* s)
{
    if (s == nullptr)
        return nullptr;
    size_t size = std::strlen(s) + 1;
    char* copy = static_cast<char*>(std::malloc(size));
    if (copy != nullptr)
        std::memcpy(copy, s, size);
    return copy;
}

extern "C" char* ZTInt_String_Duplicate(const char* s)
{
    return ZTInt_String_New(s);
}

extern "C" char* ZTInt_String_Alloc(long n)
{
    if (n < 0)
        return nullptr;
    return static_cast<char*>(std::malloc(static_cast<size_t>(n) + 1));
}

extern "C" void ZTInt_String_Free(char* s)
{
    std::free(s);
}

extern "C" int ZTInt_String_Is_Empty(const char* s)
{
    return s == nullptr || s[0] == '\0';
}

extern "C" long ZTInt_String_Length(const char* s)
{
    return s == nullptr ? 0 : static_cast<long>(std::strlen(s));
}

extern "C" void ZTInt_String_Append(char** s, const char* t)
{
    if (s == nullptr)
        return;  // no string to append to
    size_t old_length = *s == nullptr ? 0 : std::strlen(*s);
    size_t added = t == nullptr ? 0 : std::strlen(t);
    char* joined = static_cast<char*>(std::malloc(old_length + added + 1));
    if (joined == nullptr)
        return;  // *s stays as it was
    if (old_length > 0)
        std::memcpy(joined, *s, old_length);
    if (added > 0)
        std::memcpy(joined + old_length, t, added);
    joined[old_length + added] = '\0';
    std::free(*s);
    *s = joined;
}

extern "C" char* ZTInt_String_VFormat(const char* format, va_list arguments)
{
    va_list measure;
    va_copy(measure, arguments);
    int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length < 0)
        return nullptr;
    char* text = ZTInt_String_Alloc(length);
    if (text != nullptr)
        std::vsnprintf(text, static_cast<size_t>(length) + 1, format, arguments);
    return text;
}

extern "C" char* ZTInt_String_Format(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    char* text = ZTInt_String_VFormat(format, arguments);
    va_end(arguments);
    return text;
}

extern "C" long ZTInt_StringArray_Size(char* const* a)
{
    long size = 0;
    if (a != nullptr)
        while (a[size] != nullptr)
            ++size;
    return size;
}

extern "C" char* ZTInt_StringArray_At_Ref(char* const* a, long i)
{
    if (a == nullptr || i < 0)
        return nullptr;
    // Walk up to i so that an index past the terminator never reads beyond it.
    for (long k = 0; k < i; ++k)
        if (a[k] == nullptr)
            return nullptr;
    return a[i];
}

extern "C" char* ZTInt_StringArray_At(char* const* a, long i)
{
    return ZTInt_String_New(ZTInt_StringArray_At_Ref(a, i));
}

extern "C" char** ZTInt_StringArray_Alloc(long n)
{
    size_t bytes = 0;
    // n elements and the terminating NULL; a count whose size does not fit is refused.
    if (n < 0 || __builtin_mul_overflow(static_cast<size_t>(n) + 1, sizeof(char*), &bytes))
        return nullptr;
    char** a = static_cast<char**>(std::malloc(bytes));
    if (a != nullptr)
        a[n] = nullptr;
    return a;
}

extern "C" void ZTInt_StringArray_Set(char** a, long i, char* s)
{
    if (a != nullptr && i >= 0)
        a[i] = s;
}

extern "C" void ZTInt_StringArray_Free(char** a)
{
    if (a == nullptr)
        return;
    for (char** element = a; *element != nullptr; ++element)
        std::free(*element);
    std::free(a);
}

extern "C" char** ZTInt_StringArray_Duplicate(char* const* a)
{
    if (a == nullptr)
        return nullptr;
    long size = ZTInt_StringArray_Size(a);
    char** copy = ZTInt_StringArray_Alloc(size);
    if (copy == nullptr)
        return nullptr;
    for (long i = 0; i < size; ++i) {
        copy[i] = ZTInt_String_New(a[i]);
        if (copy[i] == nullptr) {  // out of memory: give back what was copied
            ZTInt_StringArray_Free(copy);
            return nullptr;
        }
    }
    return copy;
}

extern "C" char** ZTInt_StringArray_New(char* const* a)
{
    return ZTInt_StringArray_Duplicate(a);
}
