// The language of the user interface: ZT_LANG, the Chinese scripts, the search list.
#include "ztcoreutil/aduilanguage.h"

#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/mfc/ccollections.h"
#include "tests/support/ztint_test_locale.h"

namespace {

class UILanguage : public ::testing::Test {
protected:
    void SetUp() override {
        ZTInt_Test_Pin_Locale();
        UErrorCode status = U_ZERO_ERROR;
        uloc_setDefault("fr_CA", &status);  // not English, so a fallback is visible
    }
    void TearDown() override { unsetenv("ZT_LANG"); }

    static std::string From_Environment(const char* Value) {
        setenv("ZT_LANG", Value, 1);
        return AdUILanguage().getName();
    }
};

std::vector<std::string> Search_List(const AdUILanguage& Language) {
    CStringArray names;
    names.Add(u"stale");
    Language.getSearchList(names);
    std::vector<std::string> out;
    for (long i = 0; i < names.Get_Count(); ++i) {
        const Fnd_String& name = *names[i];
        out.emplace_back(name.Data(), name.Data() + name.Get_Length());
    }
    return out;
}

TEST_F(UILanguage, EnvironmentChoosesTheLanguageAndChineseGetsAScript) {
    unsetenv("ZT_LANG");
    EXPECT_EQ(std::string(AdUILanguage().getName()), "fr_CA");
    // Values that are no locale, or not ASCII, are ignored; iw is canonically he; a script
    // given with Chinese stays.
    const std::pair<const char*, const char*> cases[] = {
        {"", "fr_CA"},          {"this is not a locale", "fr_CA"}, {"d\xC3\xA9_DE", "fr_CA"},
        {"de-AT", "de_AT"},     {"iw_IL", "he_IL"},                {"zh_TW", "zh_Hant_TW"},
        {"zh_HK", "zh_Hant_HK"}, {"zh_CN", "zh_Hans_CN"},           {"zh_SG", "zh_Hans_SG"},
        {"zh", "zh_Hans"},      {"zh_Hant_CN", "zh_Hant_CN"}};
    for (const auto& [value, name] : cases) EXPECT_EQ(From_Environment(value), name) << value;
    // The ICU default goes through the same rule.
    unsetenv("ZT_LANG");
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("zh_TW", &status);
    EXPECT_EQ(std::string(AdUILanguage().getName()), "zh_Hant_TW");
    // And so do names given directly.
    EXPECT_EQ(std::string(AdUILanguage(Fnd_String(u"zh_HK")).getName()), "zh_Hant_HK");
}

TEST_F(UILanguage, EnglishLivesInTheRootBundle) {
    setenv("ZT_LANG", "en_US", 1);
    EXPECT_STREQ(AdUILanguage().getICULocale(), "root");
    EXPECT_STREQ(AdUILanguage(Fnd_String(u"en")).getICULocale(), "root");
    EXPECT_STREQ(AdUILanguage(Fnd_String(u"de_CH")).getICULocale(), "de_CH");
    EXPECT_STREQ(AdUILanguage(Fnd_String(u"zh_TW")).getICULocale(), "zh_Hant_TW");
}

TEST_F(UILanguage, SearchListRunsFromMostToLeastSpecific) {
    EXPECT_EQ(Search_List(AdUILanguage(Fnd_String(u"zh_TW"))),
              (std::vector<std::string>{"zh_Hant_TW", "zh_Hant", "zh_TW", "zh-TW", "zh"}));
    EXPECT_EQ(Search_List(AdUILanguage(Fnd_String(u"zh"))),
              (std::vector<std::string>{"zh_Hans", "zh"}));
    EXPECT_EQ(Search_List(AdUILanguage(Fnd_String(u"de_AT"))),
              (std::vector<std::string>{"de_AT", "de-AT", "de"}));
    EXPECT_EQ(Search_List(AdUILanguage(Fnd_String(u"fr"))), (std::vector<std::string>{"fr"}));
    // A name that is not ASCII gives a bogus language with an empty list.
    AdUILanguage bogus(Fnd_String(u"d\u00E9"));
    EXPECT_FALSE(bogus.isValid());
    EXPECT_TRUE(Search_List(bogus).empty());
}

TEST_F(UILanguage, DefaultIsSharedAndChangedInPlace) {
    setenv("ZT_LANG", "ja_JP", 1);
    const AdUILanguage& language = AdUILanguage::getDefault();
    EXPECT_EQ(std::string(language.getName()), "ja_JP");
    EXPECT_EQ(&language, &AdUILanguage::getDefault());
    setenv("ZT_LANG", "de", 1);  // read once: later changes of the variable do not count
    EXPECT_EQ(std::string(AdUILanguage::getDefault().getName()), "ja_JP");
    AdUILanguage::setDefault(AdUILanguage(Fnd_String(u"zh_CN")));
    EXPECT_EQ(std::string(language.getName()), "zh_Hans_CN");
}

}  // namespace
