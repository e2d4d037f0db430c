#include "foundation/streams/ztfacets.h"

namespace std {

template <> ctype<char16_t>::~ctype() = default;

template <> bool ctype<char16_t>::do_is(mask, char16_t) const { return false; }

template <>
const char16_t* ctype<char16_t>::do_is(const char16_t* Low, const char16_t* High,
                                       mask* Masks) const {
    for (; Low < High; ++Low) *Masks++ = mask();
    return High;
}

template <>
const char16_t* ctype<char16_t>::do_scan_is(mask, const char16_t*, const char16_t* High) const {
    return High;
}

template <>
const char16_t* ctype<char16_t>::do_scan_not(mask, const char16_t* Low, const char16_t*) const {
    return Low;
}

template <> char16_t ctype<char16_t>::do_toupper(char16_t C) const { return C; }

template <>
const char16_t* ctype<char16_t>::do_toupper(char16_t*, const char16_t* High) const {
    return High;
}

template <> char16_t ctype<char16_t>::do_tolower(char16_t C) const { return C; }

template <>
const char16_t* ctype<char16_t>::do_tolower(char16_t*, const char16_t* High) const {
    return High;
}

template <> char16_t ctype<char16_t>::do_widen(char C) const {
    return static_cast<char16_t>(static_cast<signed char>(C));
}

template <>
const char* ctype<char16_t>::do_widen(const char* Low, const char* High, char16_t* To) const {
    for (; Low < High; ++Low) *To++ = do_widen(*Low);
    return High;
}

template <> char ctype<char16_t>::do_narrow(char16_t, char Default) const { return Default; }

template <>
const char16_t* ctype<char16_t>::do_narrow(const char16_t* Low, const char16_t* High,
                                           char Default, char* To) const {
    for (; Low < High; ++Low) *To++ = Default;
    return High;
}

}  // namespace std

std::locale ztlocale(const std::locale& Locale) {
    if (std::has_facet<std::ctype<Code_Unit>>(Locale)) return Locale;
    return std::locale(Locale, new std::ctype<Code_Unit>);
}

void ztinitfacets(std::basic_ios<Code_Unit>& Stream) {
    const std::locale current = Stream.getloc();
    if (!std::has_facet<std::ctype<Code_Unit>>(current)) Stream.imbue(ztlocale(current));
}
