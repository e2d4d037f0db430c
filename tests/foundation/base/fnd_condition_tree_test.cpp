// The condition as a tree of subordinates and information, and the text of the tree.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_list.h"
#include "message_test_support.h"

using namespace message_test;

namespace {

// A message whose built-in text is its name, so that images need no catalog.
class Note : public Fnd_Message {
    FND_OBJECT_MEMBERS(Note, Fnd_Message)
public:
    explicit Note(const char* Name) : Name(Wide(Name)) { ++Living; }
    Note(const Note& Other) : Fnd_Object(), Fnd_Message(Other), Name(Other.Name) { ++Living; }
    ~Note() override { --Living; }
    const Fnd_String& Subsystem_Name() const override { return Fnd_String::Null; }
    long Class_Number() const override { return 1; }
    long Is_Equal(const Fnd_Object& Other) const override { return Convert(&Other)->Name == Name; }
    void Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                      Fnd_Message_Kinds& Kind) const override {
        Text = Name;
        Kind = Fnd_Error_Msg;
    }

    Fnd_String Name;
    static inline long Living = 0;
};

std::string Name_Of(const Fnd_Condition& Condition) {
    const Note* note = Note::Convert(Condition.Get_Error());
    if (note) return Narrow(note->Name);
    return Condition.Is_Generic(0, 1) ? "<composite>" : (Condition.Failed() ? "?" : "<ok>");
}

// The conditions of a list by the names of their errors, separated by blanks.
std::string Names(const Fnd_Sequence* List) {
    std::string out;
    if (!List) return out;
    for (Fnd_Iterator it(List); !it.Done(); it.Next())
        out += (out.empty() ? "" : " ") + Name_Of(*Fnd_Condition::Convert(it.Get(1)));
    return out;
}

const Fnd_Condition& First_Of(const Fnd_Sequence* List) {
    return *Fnd_Condition::Convert(List->Get_First());
}

// The text of the whole tree, one line per specific error.
std::string Text_Of(const Fnd_Condition& Condition, long Subordinates = 1, long Information = 1) {
    return Narrow(Condition.Image(Fnd_Detail_Default, 0, 0, Subordinates, Information,
                                  Fnd_Message::Default_Message_Separator()));
}

Fnd_Condition Composite_Of(std::initializer_list<const char*> Causes) {
    Fnd_Condition condition;
    for (const char* cause : Causes) condition.Add_Sub(Note(cause), 0);
    return condition;
}

class ConditionTreeTest : public ::testing::Test {
protected:
    void SetUp() override { Note::Living = 0; }
    void TearDown() override { EXPECT_EQ(Note::Living, 0) << "messages leaked or lost"; }
};

}  // namespace

TEST_F(ConditionTreeTest, PushingNestsASpecificErrorButNotTheCausesOfAComposite) {
    Fnd_Condition condition(Note("low"));
    condition.Add_Info(Note("remark"), 0);
    condition.Push_Error(Note("high"), 1);
    EXPECT_EQ(Name_Of(condition), "high");
    EXPECT_EQ(condition.Get_Information(), nullptr) << "the information went down";
    ASSERT_EQ(Names(condition.Get_Subordinate()), "low");
    const Fnd_Condition& below = First_Of(condition.Get_Subordinate());
    EXPECT_EQ(Names(below.Get_Information()), "remark");
    EXPECT_EQ(Text_Of(condition), "high\nlow\nremark");

    condition.Push_Error(new Note("top"), 0);  // a failure: Force 0 still pushes
    EXPECT_EQ(Name_Of(condition), "top");
    EXPECT_EQ(Text_Of(condition), "top\nhigh\nlow\nremark");

    // On a composite the subordinates keep their level.
    Fnd_Condition composite = Composite_Of({"a", "b", "c"});
    EXPECT_EQ(Name_Of(composite), "<composite>");
    composite.Push_Error(Note("m"), 1);
    EXPECT_EQ(Name_Of(composite), "m");
    EXPECT_EQ(Names(composite.Get_Subordinate()), "a b c");
    EXPECT_EQ(First_Of(composite.Get_Subordinate()).Get_Subordinate(), nullptr);

    Fnd_Condition clean;
    clean.Push_Error(new Note("dropped"), 0);  // adopted and destroyed: nothing to push on
    EXPECT_FALSE(clean.Failed());
}

TEST_F(ConditionTreeTest, AddInfoDemotesAFailureWithoutAWrapper) {
    Fnd_Condition composite = Composite_Of({"a", "b"});
    composite.Add_Info(0);
    EXPECT_FALSE(composite.Failed());
    EXPECT_EQ(composite.Get_Subordinate(), nullptr);
    EXPECT_EQ(Names(composite.Get_Information()), "a b");

    Fnd_Condition specific(Note("s"));
    specific.Add_Sub(Note("cause"), 0);
    specific.Add_Info(Note("earlier"), 0);
    specific.Add_Info(1);  // in front of the earlier information
    EXPECT_FALSE(specific.Failed());
    ASSERT_EQ(Names(specific.Get_Information()), "s earlier");
    EXPECT_EQ(Names(First_Of(specific.Get_Information()).Get_Subordinate()), "cause");
    Fnd_Condition clean;
    clean.Add_Info(0);
    EXPECT_EQ(clean.Get_Information(), nullptr);
}

TEST_F(ConditionTreeTest, AddSubAddSubordinateAndAddCarryWhatTheSourceHolds) {
    Fnd_Condition clean_source, guarded;
    guarded.Add_Sub(clean_source, 0, 0);
    EXPECT_FALSE(guarded.Failed());
    EXPECT_EQ(guarded.Get_Subordinate(), nullptr);

    Fnd_Condition unguarded;
    unguarded.Add_Subordinate(clean_source, 0, 0);
    EXPECT_TRUE(unguarded.Failed()) << "a subordinate implies failure";
    EXPECT_EQ(unguarded.Is_Generic(0, 1), 1);
    EXPECT_EQ(Text_Of(unguarded), "");
    EXPECT_EQ(Names(unguarded.Get_Subordinate()), "<ok>");

    // Add carries information and failures.
    Fnd_Condition remarks, condition;
    remarks.Add_Info(Note("r1"), 0);
    condition.Add(remarks, 1, 0);
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(remarks.Get_Information(), nullptr) << "moved out";
    EXPECT_EQ(Names(condition.Get_Information()), "r1");

    Fnd_Condition failed(Note("f"));
    condition.Add(failed, Note("generic"), 0, 0);
    EXPECT_EQ(Name_Of(condition), "generic");
    EXPECT_EQ(Names(condition.Get_Subordinate()), "f");
    EXPECT_EQ(Name_Of(failed), "f") << "copied, not moved";

    Fnd_Condition second(Note("g"));
    condition.Add(second, Note("ignored"), 1, 1);
    EXPECT_EQ(Name_Of(condition), "generic");
    EXPECT_EQ(Names(condition.Get_Subordinate()), "g f");
    EXPECT_FALSE(second.Failed());

    condition.Add(Note("last"), 0);
    EXPECT_EQ(Names(condition.Get_Subordinate()), "g f last");
    EXPECT_EQ(Text_Of(condition), "generic\ng\nf\nlast\nr1");
    EXPECT_EQ(Text_Of(condition, 0, 1), "generic\nr1");
    EXPECT_EQ(Text_Of(condition, 1, 0), "generic\ng\nf\nlast");
}

TEST_F(ConditionTreeTest, MergeFlattensGenericFailuresAndLeavesACopiedSourceAlone) {
    Fnd_Condition generic = Composite_Of({"a", "b"});
    generic.Add_Info(Note("i"), 0);
    const Fnd_Condition before(generic);
    Fnd_Condition condition(Note("top"));
    condition.Merge(generic, 0, 0);
    EXPECT_TRUE(generic == before) << "Merge without transfer leaves the source as it was";
    EXPECT_EQ(Names(condition.Get_Subordinate()), "a b");
    EXPECT_EQ(Names(condition.Get_Information()), "i");

    Fnd_Condition specific(Note("s"));
    specific.Add_Sub(Note("t"), 0);
    condition.Merge(specific, 1, 1);
    EXPECT_FALSE(specific.Failed());
    ASSERT_EQ(Names(condition.Get_Subordinate()), "s a b");
    EXPECT_EQ(Names(First_Of(condition.Get_Subordinate()).Get_Subordinate()), "t");
}

TEST_F(ConditionTreeTest, GenericErrorsNeverAddASeparator) {
    Fnd_Condition condition = Composite_Of({"first", "second"});
    EXPECT_EQ(Text_Of(condition), "first\nsecond");
    Fnd_Condition nested = Composite_Of({});
    nested.Add_Sub(condition, 0, 0);
    Fnd_Condition third = Composite_Of({"third"});
    nested.Add_Sub(third, 0, 0);
    EXPECT_EQ(Text_Of(nested), "first\nsecond\nthird");
    Fnd_String out(u"before");
    condition.Append(out, Fnd_Detail_Default, 0, 0, 1, 1, Fnd_String(u" | "));
    EXPECT_EQ(Narrow(out), "before | first | second");
}

TEST_F(ConditionTreeTest, AddSetTakesOverOrAdds) {
    Fnd_Condition with_remark;
    with_remark.Add_Info(Note("mine"), 0);

    Fnd_Condition source(Note("src"));
    source.Add_Info(Note("theirs"), 0);
    Fnd_Condition kept(with_remark);
    kept.Add_Set(source, 0, 0, 1);
    EXPECT_EQ(Name_Of(kept), "src");
    EXPECT_EQ(Names(kept.Get_Information()), "theirs mine");
    EXPECT_EQ(Name_Of(source), "src") << "copied";

    Fnd_Condition replaced(with_remark);
    replaced.Add_Set(source, 0, 0, 0);
    EXPECT_EQ(Names(replaced.Get_Information()), "theirs");

    Fnd_Condition moved(with_remark);
    Fnd_Condition moving(source);
    moved.Add_Set(moving, 1, 0, 1);
    EXPECT_EQ(Names(moved.Get_Information()), "theirs mine");
    EXPECT_FALSE(moving.Failed());
    EXPECT_EQ(moving.Get_Information(), nullptr);

    Fnd_Condition failed(Note("already"));
    failed.Add_Set(source, 0, 0, 1);
    EXPECT_EQ(Name_Of(failed), "already");
    EXPECT_EQ(Names(failed.Get_Subordinate()), "src");

    Fnd_Condition untouched(with_remark);
    Fnd_Condition clean;
    untouched.Add_Set(clean, 1, 0, 0);
    EXPECT_EQ(Names(untouched.Get_Information()), "mine");
}

TEST_F(ConditionTreeTest, CopiesTransfersAndClearingTreatTheWholeTree) {
    Fnd_Condition tree = Composite_Of({"a"});
    tree.Add_Info(Note("i"), 0);
    Fnd_Condition copy(tree);
    EXPECT_TRUE(copy == tree);
    EXPECT_NE(copy.Get_Subordinate(), tree.Get_Subordinate());
    copy.Add_Sub(Note("b"), 0);
    EXPECT_FALSE(copy == tree);
    Fnd_Condition& alias = copy;
    copy = alias;
    EXPECT_EQ(Names(copy.Get_Subordinate()), "a b");
    copy = First_Of(copy.Get_Subordinate());  // a part of itself
    EXPECT_EQ(Name_Of(copy), "a");
    EXPECT_EQ(copy.Get_Subordinate(), nullptr);

    Fnd_Condition target(Note("gone"));
    tree.Transfer(target);
    EXPECT_EQ(Names(target.Get_Subordinate()), "a");
    EXPECT_EQ(Names(target.Get_Information()), "i");
    EXPECT_FALSE(tree.Failed());
    EXPECT_EQ(tree.Get_Information(), nullptr);

    target.Clear();
    EXPECT_FALSE(target.Failed());
    EXPECT_EQ(target.Get_Subordinate(), nullptr);
    EXPECT_NE(target.Get_Information(), nullptr) << "Clear keeps the information";
    target.Set(new Note("set"));
    EXPECT_EQ(Name_Of(target), "set");
    EXPECT_EQ(target.Get_Information(), nullptr);
    target = Note("assigned");
    target.Clear(1);
    EXPECT_EQ(target.Get_Information(), nullptr);
    EXPECT_FALSE(target.Failed());
}

TEST_F(ConditionTreeTest, DebugTextsDescribeTheTree) {
    Fnd_Condition clean;
    EXPECT_EQ(Narrow(Fnd_Condition_Debug_Text(clean)),
              "[successful, without subordinate, without information]");
    Fnd_Condition composite = Composite_Of({"a", "b"});
    EXPECT_EQ(Narrow(Fnd_Condition_Debug_Text(composite)),
              "[failure(generic), with subordinate, without information]\n*** a\n*** b");
    const std::string shown = Narrow(composite.Show_Text());
    EXPECT_TRUE(std::regex_match(shown, std::regex(R"( \[0x[0-9a-f]+,\*\*\* a\n\*\*\* b\])")))
        << shown;
    EXPECT_TRUE(std::regex_match(Narrow(clean.Show_Text()), std::regex(R"( \[0x[0-9a-f]+\])")));

    testing::internal::CaptureStdout();
    Fnd_Condition_Debug_Image(clean);
    composite.Show();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.substr(0, 56), "[successful, without subordinate, without information]\n ");
}

TEST(ConditionTreeDeathTest, OnlyConditionsEnterTheLists) {
    Fnd_Condition condition;
    Fnd_Sequence* list = condition.Allocate_Subordinate();
    EXPECT_DEATH(list->Insert(Note("not a condition"), Fnd_Sequence_Last), "Note");
}
