// The condition: success and failure, setting and pushing errors, copies, images.
#include "foundation/base/fnd_condition.h"

#include <gtest/gtest.h>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_base_errors.h"
#include "message_test_support.h"

using namespace message_test;

namespace {

// A message that counts its living objects, to see what the condition destroys.
class Counted_Message : public Fnd_Message {
    FND_OBJECT_MEMBERS(Counted_Message, Fnd_Message)
public:
    explicit Counted_Message(long Id) : Id(Id) { ++Living; }
    Counted_Message(const Counted_Message& Other) : Fnd_Object(), Fnd_Message(Other), Id(Other.Id) {
        ++Living;
    }
    ~Counted_Message() override { --Living; }
    const Fnd_String& Subsystem_Name() const override { return Fnd_String::Null; }
    long Class_Number() const override { return 1; }
    long Is_Equal(const Fnd_Object& Other) const override { return Convert(&Other)->Id == Id; }

    long Id;
    static inline long Living = 0;
};

long Id_Of(const Fnd_Condition& Condition) {
    const Counted_Message* message = Counted_Message::Convert(Condition.Get_Error());
    return message != nullptr ? message->Id : -1;
}

}  // namespace

TEST(Condition, ACleanConditionHasTheSharedSuccessMessage) {
    Fnd_Condition clean;
    EXPECT_FALSE(clean.Failed());
    Fnd_Message* success = clean.Get_Error();
    ASSERT_NE(success, nullptr);
    EXPECT_EQ(success, Fnd_Condition().Get_Error());
    EXPECT_EQ(success, Fnd_Condition_Error::Success_Error());
    EXPECT_EQ(Fnd_Condition_Error::Convert(success)->Number, 1);
    EXPECT_EQ(clean.Is_Generic(1, 1), 0);
    EXPECT_EQ(clean.Is_Generic(0, 1), 0);
}

TEST(Condition, SetAndPushWithoutForceOnlyReplaceAFailure) {
    Fnd_Condition condition;
    condition.Set_Error(Counted_Message(1), 0);
    EXPECT_FALSE(condition.Failed());
    condition.Set_Error(Counted_Message(2), 1);
    EXPECT_TRUE(condition.Failed());
    EXPECT_EQ(Id_Of(condition), 2);
    condition.Set_Error(Counted_Message(3), 0);
    EXPECT_EQ(Id_Of(condition), 3);
    EXPECT_EQ(Counted_Message::Living, 1);
    condition.Clear();
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(Counted_Message::Living, 0);

    // Push_Error on an empty or generic condition.
    condition.Push_Error(Counted_Message(1), 0);
    EXPECT_FALSE(condition.Failed());
    condition.Push_Error(Counted_Message(2), 1);
    EXPECT_EQ(Id_Of(condition), 2);

    Fnd_Condition composite(Fnd_Condition_Error(2));
    EXPECT_EQ(composite.Is_Generic(0, 1), 1);
    EXPECT_EQ(composite.Is_Generic(1, 0), 0);
    composite.Push_Error(Counted_Message(7), 0);
    EXPECT_EQ(Id_Of(composite), 7);
    EXPECT_EQ(composite.Is_Generic(1, 1), 0);
}

TEST(Condition, TheAdoptingFormsDestroyWhatTheyDoNotInstall) {
    {
        Fnd_Condition condition;
        condition.Set_Error(new Counted_Message(1), 0);
        EXPECT_EQ(Counted_Message::Living, 0);
        condition.Push_Error(new Counted_Message(2), 0);
        EXPECT_EQ(Counted_Message::Living, 0);
        condition.Set_Error(new Counted_Message(3), 1);
        condition.Set_Error(new Counted_Message(4), 0);
        EXPECT_EQ(Counted_Message::Living, 1);
        EXPECT_EQ(Id_Of(condition), 4);
        condition.Set(new Counted_Message(5));
        EXPECT_EQ(Id_Of(condition), 5);
        condition.Set(nullptr);
        EXPECT_FALSE(condition.Failed());
        EXPECT_EQ(Counted_Message::Living, 0);
        condition.Set(new Counted_Message(6));
    }
    EXPECT_EQ(Counted_Message::Living, 0);

}

TEST(Condition, CopiesAreDeepAndSelfAssignmentKeepsTheContent) {
    Fnd_Condition original(Counted_Message(1));
    Fnd_Condition copy(original);
    EXPECT_NE(copy.Get_Error(), original.Get_Error());
    EXPECT_EQ(copy == original, 1);
    original.Set_Error(Counted_Message(2), 1);
    EXPECT_EQ(Id_Of(copy), 1);
    EXPECT_EQ(copy == original, 0);

    Fnd_Condition& same = copy;
    copy = same;
    EXPECT_EQ(Id_Of(copy), 1);
    copy = *copy.Get_Error();  // assigning its own message
    EXPECT_EQ(Id_Of(copy), 1);
    copy = Fnd_Condition();
    EXPECT_FALSE(copy.Failed());
    EXPECT_EQ(copy == Fnd_Condition(), 1);
    EXPECT_EQ(Counted_Message::Living, 1);

    Fnd_Object* clone = original.Clone();
    EXPECT_EQ(Id_Of(*Fnd_Condition::Convert(clone)), 2);
    delete clone;
}

TEST(Condition, ImageAndKindOfErrorsAndGenericStates) {
    Pin_Language();
    Catalog_Directory catalogs;
    catalogs.Add("Abstract_Types", "root", R"("3_0" { :int { 8 }, "range <value>" })");
    catalogs.Use();
    const Fnd_String& newline = Fnd_Message::Default_Message_Separator();

    Fnd_Condition condition(Fnd_Vaultline_Error(3, u"down"));
    EXPECT_EQ(Narrow(condition.Image(Fnd_Detail_Normal, 1, 1, 1, 1, newline)),
              "*** Base.Fnd_Vaultline_Error.3: image down");
    EXPECT_EQ(condition.Kind(), Fnd_Unknown_Kind_Msg);  // no catalog record

    Fnd_String out(u"old text");
    Fnd_Condition().Image(out, Fnd_Detail_Normal, 0, 1, 1, 1, newline);
    EXPECT_TRUE(out.Is_Empty());
    Fnd_Condition(Fnd_Condition_Error(2)).Image(out, Fnd_Detail_Normal, 0, 1, 1, 1, newline);
    EXPECT_TRUE(out.Is_Empty());

    // Append keeps what is there and separates.
    out = u"first";
    condition.Append(out, Fnd_Detail_Normal, 0, 1, 1, 1, Fnd_String(u" | "));
    EXPECT_EQ(Narrow(out), "first | Base.Fnd_Vaultline_Error.3: image down");

    // The kind follows the catalog.
    Fnd_Condition range(Fnd_Array_Range_Error(0, 1, 5));
    EXPECT_EQ(range.Kind(), Fnd_Warning_Msg);
    EXPECT_EQ(Narrow(range.Image(Fnd_Detail_Normal, 1, 0, 1, 1,
                                 Fnd_Message::Default_Message_Separator())),
              "!!! range 5");
    // The success message has no record: kind 0.
    EXPECT_EQ(Fnd_Condition().Kind(), Fnd_Unknown_Kind_Msg);
}
