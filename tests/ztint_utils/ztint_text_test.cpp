// Texts between the RPC core's bytes and the foundation's 16-bit strings: ASCII takes
// a path of its own, which must agree with the default charset's conversion.
#include <gtest/gtest.h>

#include <string>

#include "foundation/base/fnd_string.h"
#include "ztint_string.h"
#include "ztint_utils/ztint_text.h"

TEST(ZTIntText, WideAndNarrowAgreeForAsciiAndOtherTexts)
{
    const struct {
        const char* bytes;
        std::u16string units;
    } cases[] = {
        {"", u""},
        {"/tmp/ZTIntSvr_USock_1000_42", u"/tmp/ZTIntSvr_USock_1000_42"},
        {"\x7f tab\tend", u"\x7f tab\tend"},
        {"h\xC3\xA9llo", u"h\u00E9llo"},
        {"\xE2\x82\xAC 5", u"\u20AC 5"},
    };
    for (const auto& c : cases) {
        const Fnd_String wide = ZTInt_Wide(c.bytes);
        EXPECT_EQ(std::u16string(wide.Data(), static_cast<std::size_t>(wide.Get_Length())), c.units)
            << c.bytes;
        char* narrow = ZTInt_Narrow(wide);
        ASSERT_NE(narrow, nullptr) << c.bytes;
        EXPECT_STREQ(narrow, c.bytes);
        ZTInt_String_Free(narrow);
    }
    EXPECT_EQ(ZTInt_Wide(nullptr).Get_Length(), 0);
    // A text with a byte that is no UTF-8 does not convert: no byte is taken for a
    // character of its own.
    EXPECT_EQ(ZTInt_Wide("ab\xFF" "cd").Get_Length(), 0);
}
