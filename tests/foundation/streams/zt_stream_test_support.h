// Helpers shared by the stream tests: charsets by name, a stand-in default charset,
// and reading a stream to its end.
#pragma once

#include <gtest/gtest.h>

#include <istream>
#include <string>

#include "foundation/base/fnd_string.h"
#include "tests/support/ztint_test_text.h"
#include "ztcoreutil/adcharset.h"

namespace stream_test {

inline AdCharset Charset(const char16_t* Name) {
    AdCharset charset{Fnd_String(Name)};
    EXPECT_TRUE(charset.isValid()) << "no charset of that name";
    return charset;
}

// Every unit the stream gives up to its end or its first failure.
inline std::u16string Read_All(std::basic_istream<Code_Unit>& In) {
    std::u16string units;
    Code_Unit unit;
    while (In.get(unit)) units += unit;
    return units;
}

// Makes Name the process's default charset for the test, so streams made afterwards start in
// it whatever ICU says; the charset of the locale comes back at the end.
class Default_Charset_Test : public ::testing::Test {
protected:
    void Use_Default(const char16_t* Name) { AdCharset::overrideDefaultCharset(Charset(Name)); }
    void TearDown() override { AdCharset::overrideDefaultCharset(AdCharset()); }
};

}  // namespace stream_test
