// Numbered messages and their exceptions: catalog texts and the fallback, component
// codes, parameter replacement, handlers, the message list and the growing buffers of
// GetErrorMessageString.
#include "ztcoreutil/mxmessage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_message.h"
#include "tests/support/ztint_test_text.h"
#include "ztcoreutil/mxmsgexception.h"

namespace {

TEST(MxMessage, ComponentCodes) {
    const std::pair<int, const char16_t*> cases[] = {
        {2105, u"UT0104"}, {3000, u"UT0999"}, {2001, u"UT0000"}, {29000, u"TP0000"},
        {29100, u"TP0100"}, {18019, u"CU0018"}, {3001, nullptr},  {0, nullptr}};
    for (const auto& [id, code] : cases) {
        Fnd_String out(u"kept");
        EXPECT_EQ(GetLogR2Id(id, out), code ? 1 : 0) << id;
        EXPECT_EQ(Text(out), code ? code : u"kept") << id;
    }
}

TEST(MxMessage, CatalogTextParametersAndErrorCode) {
    MxMessage message(2105);
    ASSERT_EQ(message.Load_Failed(), 0);
    message.SetParam(u"%value%", u"x").SetParam(u"field", u"Owner");
    EXPECT_EQ(Text(message.FullMsg()), u"the value x is not valid for Owner");
    message.Type(MxMsg_Error).Type(MxMsg_Error);  // the code goes in once
    EXPECT_EQ(Text(message.FullMsg()), u"XKMUT0104E the value x is not valid for Owner");
    Fnd_String id;
    EXPECT_TRUE(message.GetParam(u"msgid", id));
    EXPECT_EQ(Text(id), u"2105");

    MxMessage warning(2105);
    warning.Type(MxMsg_Warning);
    EXPECT_EQ(Text(warning.Msg()), u"the value %value% is not valid for %field%");
    MxMessage outside(Fnd_String(u"free text"));
    outside.Type(MxMsg_Error);
    EXPECT_EQ(Text(outside.Msg()), u"free text");
}

TEST(MxMessage, MissingNumberListsItsParameters) {
    MxMessage message(4242);
    EXPECT_EQ(message.Load_Failed(), 1);
    message.SetParam(u"who", 7L);
    const std::u16string text = Text(message.FullMsg());
    EXPECT_EQ(text.rfind(u"Unable to load message ID 4242 from resources.\nMessage parameters are:\n", 0), 0u);
    EXPECT_NE(text.find(u" msgid=4242\n"), std::u16string::npos);
    EXPECT_NE(text.find(u" who=7\n"), std::u16string::npos);
    // A copy has the fallback text but not the flag: its parameters do not show.
    MxMessage copy(message);
    EXPECT_EQ(Text(copy.FullMsg()), u"Unable to load message ID 4242 from resources.\n");
}

TEST(MxMessage, ReplacementEverywhereAndBoundedForSelfReference) {
    MxMessage message(Fnd_String(u"%a% and %a%, <b>"));
    message.SetParam(u"a", u"[%a%]");
    message.BeginDelim(u"<").EndDelim(u">").SetParam(u"b", u"B");
    EXPECT_EQ(Text(message.FullMsg()), u"%a% and %a%, B");
    message.BeginDelim(u"%").EndDelim(u"%");
    EXPECT_EQ(Text(message.FullMsg()), u"[%a%] and [%a%], <b>");
}

TEST(MxMessage, SourceKeepsTheLastPathComponent) {
    MxMessage message;
    message.Source(u"Decode", u"/src/a\\b/c/file.cpp", 42);
    EXPECT_EQ(Text(message.Source()), u"Decode:file.cpp:42");
    message << u" n=" << 5 << u" u=" << 7u << u" d=" << 1.5 << u" l=" << 2.5L;
    EXPECT_EQ(Text(message.Msg()), u" n=5 u=7 d=1.500000 l=2.5");
}

std::vector<std::string> Processed;
int Match_All(MxMessage*) { return 1; }
void Process_First(MxMessage*) { Processed.push_back("first"); }
void Process_Second(MxMessage*) { Processed.push_back("second"); }
void Cleanup_Note() { Processed.push_back("cleanup"); }

TEST(MxMsgHandler, NewestFirstInactiveOnlyCleansUp) {
    Processed.clear();
    MxMsgHandler first, second, idle;
    first.SetIsMatch(Match_All).SetProcess(Process_First).Activate();
    second.SetIsMatch(Match_All).SetProcess(Process_Second).Activate();
    idle.SetIsMatch(Match_All).SetProcess(Process_First).SetCleanup(Cleanup_Note);
    MxMessage message(Fnd_String(u"m"));
    message.Deliver(0);
    EXPECT_TRUE(message.IsDelivered());
    message.Deliver(0);  // delivered already: nothing
    MxMsgHandler::Flush();
    EXPECT_EQ(Processed, (std::vector<std::string>{"second", "first", "cleanup"}));
    EXPECT_EQ(MxMsgHandler::GetHandlerAt(MxMsgHandler::GetFirstHandlerPos()), &idle);
}

TEST(ExcpMsg, OwnsErrorCopiesAndWalksWithItsCursor) {
    ExcpMsg list;
    list += MxMessage(2105);
    list += MxMessage(Fnd_String(u"second"));
    list += MxMessage(Fnd_String(u"third"));
    EXPECT_EQ(list.GetCount(), 3);
    EXPECT_EQ(Text(list.First()->Msg()).rfind(u"XKMUT0104E ", 0), 0u);
    EXPECT_EQ(Text(list.Next()->Msg()), u"second");
    EXPECT_EQ(Text(list.Remove()->Msg()), u"third");
    EXPECT_EQ(list.Remove(), nullptr);
    EXPECT_EQ(list.GetCount(), 1);
    ExcpMsg copy(list);
    copy += copy;
    EXPECT_EQ(copy.GetCount(), 2);
    list.SetEmpty();
    EXPECT_EQ(list.GetAtPos(list.FirstPos()), nullptr);
    EXPECT_EQ(list.NextPos(nullptr), nullptr);
    EXPECT_EQ(list.RemovePos(nullptr), nullptr);
}

TEST(MxMsgException, ThrownCaughtAndRead) {
    try {
        ThrowMxMsgException(2105);
    } catch (MxMsgException* e) {
        int found = -1;
        const Fnd_String text = e->GetErrorMessageString(&found, 0);
        EXPECT_EQ(found, 1);
        EXPECT_EQ(Text(text), u"XKMUT0104E the value %value% is not valid for %field%");
        e->Delete();
        return;
    }
    ADD_FAILURE() << "nothing thrown";
}

TEST(MxMsgException, EmptyListGivesNothing) {
    MxMsgException* e = new MxMsgException();
    Code_Unit buffer[4] = {u'x', u'x', 0, 0};
    EXPECT_EQ(e->GetErrorMessage(buffer, 4, nullptr), 0);
    EXPECT_EQ(buffer[0], 0);
    int found = -1;
    EXPECT_EQ(Text(e->GetErrorMessageString(&found, 0)), u"");
    EXPECT_EQ(found, 0);
    e->Delete();
}

// An exception that records the buffer sizes it was asked to fill.
class Sized_Exception : public CException {
    FND_OBJECT_MEMBERS(Sized_Exception, CException)
public:
    explicit Sized_Exception(long Length) : Length(Length) {}
    int GetErrorMessage(Code_Unit* Buffer, unsigned Max, unsigned*) override {
        Sizes.push_back(Max);
        const long count = std::min<long>(Length, Max - 1);
        for (long i = 0; i < count; ++i) Buffer[i] = u'a';
        Buffer[count] = 0;
        return 1;
    }
    long Length;
    std::vector<unsigned> Sizes;
};

TEST(GetErrorMessageString, GrowsItsBufferUpToTheMaximum) {
    struct Case {
        long Length;
        unsigned Max_Bytes;
        std::vector<unsigned> Sizes;  // in units
        int Found;
        long Result_Length;
    };
    const Case cases[] = {
        {126, 0, {128}, 1, 126},
        {127, 0, {128, 2048}, 1, 127},
        {9000, 0, {128, 2048, 8192, 32768}, 1, 9000},
        {500, 300, {128, 150}, 0, 149},
        {70000, 0, {128, 2048, 8192, 32768, 65536}, 0, 65535},
    };
    for (const Case& c : cases) {
        Sized_Exception e(c.Length);
        int found = -1;
        const Fnd_String text = GetErrorMessageString(&e, &found, c.Max_Bytes);
        EXPECT_EQ(e.Sizes, c.Sizes) << c.Length;
        EXPECT_EQ(found, c.Found) << c.Length;
        EXPECT_EQ(text.Get_Length(), c.Result_Length) << c.Length;
    }
}

TEST(Fnd_Core_Exception, ImageOfTheConditionCutTwoShort) {
    Fnd_Core_Exception e{Fnd_Condition(Fnd_Assertion_Message(206, u"Cls"))};
    const Fnd_String image = e.Condition.Image(Fnd_Detail_Normal, 0, 1, 1, 1,
                                               Fnd_Message::Default_Message_Separator());
    ASSERT_GT(image.Get_Length(), 6);
    Code_Unit buffer[8] = {u'x'};
    EXPECT_EQ(e.GetErrorMessage(buffer, 8, nullptr), 1);
    EXPECT_EQ(Text(Fnd_String(buffer)), Text(image).substr(0, 6));
    Fnd_Core_Exception same(e), other;
    EXPECT_TRUE(e == same);
    EXPECT_FALSE(e == other);
}

}  // namespace
