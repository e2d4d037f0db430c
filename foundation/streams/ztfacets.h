// The locale pieces that a stream of Code_Unit needs. The standard library ships no
// ctype facet for char16_t, so this one supplies the plainest: widening sign-extends a
// byte, narrowing gives the default character, case mapping is the identity, and no
// character belongs to any class. There is no numeric facet: numbers reach a 16-bit
// stream as text (Fnd_String_Library::To_String); inserting an int sets badbit.
#pragma once

#include <ios>
#include <locale>

#include "foundation/base/fnd_code_unit.h"

namespace std {
template <> ctype<char16_t>::~ctype();
template <> bool ctype<char16_t>::do_is(mask Mask, char16_t C) const;
template <> const char16_t* ctype<char16_t>::do_is(const char16_t* Low, const char16_t* High,
                                                   mask* Masks) const;
template <> const char16_t* ctype<char16_t>::do_scan_is(mask Mask, const char16_t* Low,
                                                        const char16_t* High) const;
template <> const char16_t* ctype<char16_t>::do_scan_not(mask Mask, const char16_t* Low,
                                                         const char16_t* High) const;
template <> char16_t ctype<char16_t>::do_toupper(char16_t C) const;
template <> const char16_t* ctype<char16_t>::do_toupper(char16_t* Low, const char16_t* High) const;
template <> char16_t ctype<char16_t>::do_tolower(char16_t C) const;
template <> const char16_t* ctype<char16_t>::do_tolower(char16_t* Low, const char16_t* High) const;
template <> char16_t ctype<char16_t>::do_widen(char C) const;
template <> const char* ctype<char16_t>::do_widen(const char* Low, const char* High,
                                                  char16_t* To) const;
template <> char ctype<char16_t>::do_narrow(char16_t C, char Default) const;
template <> const char16_t* ctype<char16_t>::do_narrow(const char16_t* Low, const char16_t* High,
                                                       char Default, char* To) const;
}  // namespace std

// Locale with the 16-bit ctype facet added when it has none.
std::locale ztlocale(const std::locale& Locale);

// Gives Stream the facets it needs; every 16-bit stream of the family calls it.
void ztinitfacets(std::basic_ios<Code_Unit>& Stream);
