// Stream output of strings and characters, their debug prints and trace lines.
#include <gtest/gtest.h>

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/streams/ztsstream.h"
#include "tests/support/ztint_captured_fd.h"
#include "tests/support/ztint_fresh_process.h"
#include "tests/support/ztint_test_text.h"

namespace {

std::u16string Written(void (*Write)(ztTostringstream&)) {
    ztTostringstream out;
    Write(out);
    const Fnd_String text = out.str();
    return std::u16string(text.Data(), static_cast<size_t>(text.Get_Length()));
}

std::u16string Address(const void* Object) {
    return Text(Fnd_String_Library::To_String(Object, 16, 1));
}

TEST(FndStringOutput, StringsWriteTheUnitsUpToTheLengthCharactersQuoteOrNumber) {
    EXPECT_EQ(Written([](ztTostringstream& out) {
                  const Code_Unit units[] = {u'a', 0, u'b'};
                  out << Fnd_String(units, 3) << Fnd_String();
              }),
              std::u16string(u"a\0b", 3));
    // Truncate keeps the units behind the length in the buffer; they are not written.
    EXPECT_EQ(Written([](ztTostringstream& out) {
                  Fnd_String text(u"abcdef");
                  text.Truncate(2);
                  out << text;
              }),
              u"ab");
    // Characters: printable units quoted, the rest as numbers.
    EXPECT_EQ(Written([](ztTostringstream& out) {
                  out << Fnd_Char(u'x') << Fnd_Char(u'\u4E2D') << Fnd_Char(u'\n') << Fnd_Char();
              }),
              u"'x''\u4E2D'100");
}

TEST(FndStringShow, GivesAddressLengthCapacityAndTextAndPrintsIt) {
    const Fnd_String empty;
    EXPECT_EQ(Text(empty.Show_Text()), u" [" + Address(&empty) + u",0]");
    const Fnd_String exact(u"abc");
    EXPECT_EQ(Text(exact.Show_Text()), u" [" + Address(&exact) + u",3,abc]");
    Fnd_String reserved(10L, 1L);
    reserved.Append(u"ab");
    EXPECT_EQ(Text(reserved.Show_Text()), u" [" + Address(&reserved) + u",2,10,ab]");

    const Fnd_Substring middle{&exact, 1, 2};
    EXPECT_EQ(Text(middle.Show_Text()), u" [" + Address(&middle) + u",2,bc]");
    const Fnd_Sub_C_String none{u"xyz", 2, 1};
    EXPECT_EQ(Text(none.Show_Text()), u" [" + Address(&none) + u",0]");

    ZTInt_Captured_Fd out(1);  // Show prints the same on standard output
    exact.Show();
    const std::u16string image = Text(exact.Show_Text());
    EXPECT_EQ(out.Bytes(), std::string(image.begin(), image.end()));
}

TEST(FndStringShow, ListsTheFreeListHeadFirst) {
    ZTInt_In_Fresh_Process([] {
        Fnd_String* first = Fnd_String::Get(u"one");
        Fnd_String* second = Fnd_String::Get(u"two");
        second->Ensure_Storage(8);
        first->Free();
        second->Free();
        EXPECT_EQ(Text(Fnd_String::Show_State_Text()), u"STRING FREE_LIST\n  " + Address(second) +
                                                           u" 8 two\n  " + Address(first) +
                                                           u" 3 one\ncount = 2\n");
    });
}

TEST(FndTrace, ComparisonsAndEnvironmentCallsPrintWhenAsked) {
    ZTInt_Captured_Fd out(1);
    Fnd_Char_Buffer::specific_trace = 8;
    const bool equal = Fnd_String(u"ab") == Fnd_String(u"ab");
    const bool unequal = Fnd_String(u"ab") == u"abc";
    Fnd_Char_Buffer::specific_trace = 0;
    Fnd_String_Library::trace = 3;
    Fnd_String value;
    const long set = Fnd_String_Library::Set_Environment(u"ZT_TRACE_TEST", u"v");
    const long found = Fnd_String_Library::Get_Environment(u"ZT_TRACE_TEST", value);
    const long missing = Fnd_String_Library::Get_Environment(u"ZT_TRACE_TEST_UNSET", value);
    Fnd_String_Library::trace = 0;
    unsetenv("ZT_TRACE_TEST");

    EXPECT_TRUE(equal);
    EXPECT_FALSE(unequal);
    EXPECT_EQ(set + found, 2);
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(out.Bytes(),
              "==> Fnd_Char_Buffer: equals \"ab\" \"ab\"\n"
              "==> Fnd_Char_Buffer: equals \"ab\" \"abc\"\n"
              "==> Fnd_String_Library: Set_Environment ZT_TRACE_TEST=v\n"
              "==> Fnd_String_Library: Get_Environment ZT_TRACE_TEST result: v\n"
              "==> Fnd_String_Library: Get_Environment ZT_TRACE_TEST_UNSET result: null\n");
}

}  // namespace
