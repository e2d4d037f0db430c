// The one test in front of every traced operation (Utl_Trace_Armed), and the members
// that the traced containers share through Utl_Traced_Class.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_arguments.h"
#include "foundation/utilities/utl_long_array.h"
#include "foundation/utilities/utl_pointer_array.h"
#include "foundation/utilities/utl_pointer_map.h"
#include "foundation/utilities/utl_string_array.h"
#include "foundation/utilities/utl_string_map.h"
#include "foundation/utilities/utl_string_set.h"
#include "foundation/utilities/utl_tracing.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "tests/foundation/base/message_test_support.h"

using message_test::Narrow;

namespace {

// Every test starts with all words at 0 and nothing armed, and leaves the word armed:
// a word left set by another test in the same process is then still seen.
class TracedClassTest : public testing::Test {
protected:
    void SetUp() override { Utl_Trace_Armed = 0; }
    void TearDown() override {
        Utl_Tracing::Reset();
        Utl_String_Map::Class_Trace.Reset();
        Utl_String_Array::Class_Trace.Reset();
        Utl_Arguments::Class_Trace.Reset();
        Utl_Trace_Armed = 1;
    }
};

std::string Without(std::string Output, const void* Object) {
    Fnd_String text;
    Utl_Tracing_Utilities::Value(text, Object, 0);
    const std::string address = Narrow(text);
    for (size_t at = Output.find(address); at != std::string::npos; at = Output.find(address))
        Output.replace(at, address.size(), "@");
    return Output;
}

TEST_F(TracedClassTest, UseWithNoWordSetNeverArms) {
    testing::internal::CaptureStdout();
    {
        Utl_String_Map map(Utl_Range_String, 7);
        map.Bind(u"k", Fnd_String(u"v"));
        (void)map.Get_Range(u"k");
        Utl_String_Map copy(map);
        (void)map.Unbind(u"k");
        Utl_String_Map* pooled = Utl_String_Map::Get(Utl_Range_Long, 11, 0, Utl_Case_Unchanged,
                                                     nullptr);
        pooled->Free();
        Utl_String_Array strings(2);
        strings.Add(u"a");
        strings.Sort();
        Utl_Pointer_Set set(Utl_Range_Long, 5);
        set.Add(reinterpret_cast<void*>(3L));
        Utl_Arguments arguments(0);
        arguments.Add(u"x", 1);
        (void)arguments.Get_Argv_With_Null();
        Utl_Long_Array numbers(2);
        numbers.Add(1);
        Utl_Trace_Words words = map.Trace;  // a copy of zero words
        words.Reset();
    }
    EXPECT_EQ(Utl_Trace_Armed, 0) << "the operations would pay for the slow path";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// Each way of giving a word a value arms; the value 0 does not.
TEST_F(TracedClassTest, EveryWayOfSettingAWordArms) {
    Utl_String_Map map(Utl_Range_Long, 7);
    map.Register_Object(u"m");
    const struct {
        const char* Way;
        std::function<void()> Set;
        bool Arms;
    } cases[] = {
        {"class level", [] { Utl_String_Map::Class_Trace.trace = 3; }, true},
        {"object mask or", [&] { map.Trace.specific_trace |= 1 << 23; }, true},
        {"object show copied", [&] { map.Trace.specific_show = Utl_Trace_Word(4); }, true},
        {"trace_objects", [] { Utl_Tracing::trace_objects = 1; }, true},
        {"operation set",
         [] {
             Utl_Tracing::Object_Operation(Fnd_String(u"m"), Fnd_String(u"set"),
                                           Fnd_String(u"2048"), Fnd_String(u"1"));
         },
         true},
        {"zero", [&] { map.Trace.specific_break = 0; }, false},
        {"reset", [&] { map.Trace.Reset(); }, false},
        {"and with bits", [&] { map.Trace.trace &= 7; }, false},
    };
    for (const auto& c : cases) {
        Utl_Trace_Armed = 0;
        c.Set();
        EXPECT_EQ(Utl_Trace_Armed != 0, c.Arms) << c.Way;
        map.Trace.Reset();
        Utl_String_Map::Class_Trace.Reset();
        Utl_Tracing::trace_objects = 0;
    }
}

TEST_F(TracedClassTest, AWordWrittenBehindTheArmedWordIsSeenOnlyOnceArmed) {
    Utl_String_Array strings(2);
    Utl_Trace_Words& words = strings.Trace;
    // What a debugger does: write the word's memory directly.
    *reinterpret_cast<int32_t*>(&words.specific_trace) = 1 << 25;
    testing::internal::CaptureStdout();
    strings.Add(u"unseen");
    Utl_Trace_Armed = 1;
    strings.Add(u"seen");
    EXPECT_EQ(Without(testing::internal::GetCapturedStdout(), &strings),
              "\n==> Utl_String_Array: @ Add \"seen\"\n");
}

// The shared members reach each container's own words, class key and counts.
TEST_F(TracedClassTest, TheSharedMembersServeEachContainer) {
    Utl_Tracing::trace_objects = 1;
    Utl_String_Map map(Utl_Range_Long, 7);
    map.Bind(u"a", 1);
    Utl_String_Set set(5);
    Utl_Pointer_Map pointers(Utl_Domain_Long, Utl_Range_Long, 3);
    pointers.Bind(1L, 2L);
    pointers.Bind(2L, 3L);
    Utl_Pointer_Set words(Utl_Range_Long, 13);
    Utl_Pointer_Array array(4);
    array.Add(nullptr);
    Utl_String_Array strings(6);
    strings.Add(u"x");
    strings.Add(u"y");
    const struct {
        const Code_Unit* Name;
        void* Object;
        Utl_Trace_Words* Words;
        std::function<void(const Code_Unit*)> Register;
        const char* Key;
        const char* Info;
    } cases[] = {
        {u"m", &map, &map.Trace, [&](auto n) { map.Register_Object(n); }, "string_map",
         "name: m, length: 1, size: 7\n"},
        {u"s", &set, &set.Trace, [&](auto n) { set.Register_Object(n); }, "string_set",
         "name: s, length: 0, size: 5\n"},
        {u"p", &pointers, &pointers.Trace, [&](auto n) { pointers.Register_Object(n); },
         "pointer_map", "name: p, length: 2, size: 3\n"},
        {u"w", &words, &words.Trace, [&](auto n) { words.Register_Object(n); }, "pointer_set",
         "name: w, length: 0, size: 13\n"},
        {u"a", &array, &array.Trace, [&](auto n) { array.Register_Object(n); }, "pointer_array",
         "name: a, length: 1, size: 4\n"},
        {u"t", &strings, &strings.Trace, [&](auto n) { strings.Register_Object(n); },
         "string_array", "name: t, length: 2, size: 6\n"},
    };
    for (const auto& c : cases) {
        c.Register(c.Name);
        void* object = nullptr;
        Fnd_String key;
        ASSERT_TRUE(Utl_Tracing::Get_Object(Fnd_String(c.Name), object, key)) << c.Key;
        EXPECT_EQ(object, c.Object) << c.Key;
        EXPECT_EQ(Narrow(key), c.Key);
        Utl_Tracing::Object_Operation(Fnd_String(c.Name), Fnd_String(u"set"), Fnd_String(u"4"),
                                      Fnd_String(u"9"));
        EXPECT_EQ(c.Words->specific2_trace, 9) << c.Key;
        testing::internal::CaptureStdout();
        Utl_Tracing::Object_Operation(Fnd_String(c.Name), Fnd_String(u"show"),
                                      Fnd_String(u"info"), Fnd_String());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.Info) << c.Key;
    }
}

}  // namespace

// ---- Utl_Arguments as a traced class

namespace {

std::string Image_Of_Registry() {
    Fnd_String image;
    Utl_Tracing::Image(image, false);
    return Narrow(image);
}

}  // namespace

TEST_F(TracedClassTest, ArgumentsPrintTheirOperationsAndShowTheirVector) {
    Utl_Arguments arguments(0);
    arguments.Set_Name(u"argv");
    arguments.Trace.specific_trace = (1 << 25) | (1 << 30) | (1 << 22);
    arguments.Trace.specific_show = (1 << 20) | (1 << 28);
    testing::internal::CaptureStdout();
    arguments.Add(u"b", 1);
    Fnd_String moved(u"a");
    arguments.Transfer_Add(moved);
    arguments.Sort();
    arguments.Insert(0, u"c", 0);  // shown, not traced
    (void)arguments.Get_Argv_With_Null();  // no other word set
    arguments.Delete(0, 1);
    arguments.Make_Empty();
    EXPECT_EQ(Without(testing::internal::GetCapturedStdout(), &arguments),
              "\n==> Utl_Arguments: argv @ Add b\n"
              "\n==> Utl_Arguments: argv @ Transfer_Add a\n"
              "\n==> Utl_Arguments: argv @ Sort\n"
              "\n--- Utl_Arguments: argv @ Insert\n   c\n   a\n   b\n"
              "\n==> Utl_Arguments: argv @ Delete \n"
              "\n--- Utl_Arguments: argv @ Make_Empty\n   b\n");
    testing::internal::CaptureStdout();
    arguments.Show(u"now");
    EXPECT_EQ(Without(testing::internal::GetCapturedStdout(), &arguments),
              "\n--- Utl_Arguments: argv @ now\n   empty_array\n");
}

TEST_F(TracedClassTest, ArgumentsReportToTheRegistryUnderTheirClassKey) {
    Utl_Tracing::trace_objects = 1;
    {
        Utl_Arguments first(0);
        Utl_Arguments copy(first);
        EXPECT_EQ(Image_Of_Registry(), "arguments objects_seen: 2, current: 2, freed: 0");
    }
    EXPECT_EQ(Image_Of_Registry(), "arguments objects_seen: 2, current: 0, freed: 0");
}

// "set" reaches the words that an argument vector has (`words` 2123) and only those.
TEST_F(TracedClassTest, ArgumentsTakeTheirWordsByOperation) {
    Utl_Arguments arguments(4);
    arguments.Add(u"x", 1);
    arguments.Register_Object(u"args");
    const auto operation = [](const char16_t* Command, const char16_t* First,
                              const char16_t* Second) {
        Utl_Tracing::Object_Operation(Fnd_String(u"args"), Fnd_String(Command), Fnd_String(First),
                                      Fnd_String(Second));
    };
    const struct {
        const char16_t* Bit;
        const char* Word;
        std::function<int32_t()> Value;
    } words[] = {
        {u"1", "level", [&] { return arguments.Trace.trace; }},
        {u"2", "first trace mask", [&] { return arguments.Trace.specific_trace; }},
        {u"8", "other trace", [&] { return int32_t(arguments.other_trace); }},
        {u"64", "first show mask", [&] { return arguments.Trace.specific_show; }},
        {u"2048", "break mask", [&] { return arguments.Trace.specific_break; }},
    };
    for (const auto& w : words) {
        operation(u"set", w.Bit, u"5");
        EXPECT_EQ(w.Value(), 5) << w.Word;
    }
    // An argument vector has no second masks.
    operation(u"set", u"4", u"5");
    operation(u"set", u"128", u"5");
    EXPECT_EQ(arguments.Trace.specific2_trace, 0);
    EXPECT_EQ(arguments.Trace.specific2_show, 0);

    operation(u"clear", u"0", u"");
    EXPECT_EQ(arguments.Trace.trace, 0);
    EXPECT_EQ(arguments.Trace.specific_trace, 0);
    EXPECT_EQ(int32_t(arguments.other_trace), 0);
    EXPECT_EQ(arguments.Trace.specific_show, 5) << "the show words stay";

    arguments.other_trace = 1;
    testing::internal::CaptureStdout();
    (void)arguments.Get_Argv_With_Null();
    operation(u"show", u"info", u"");
    EXPECT_EQ(Without(testing::internal::GetCapturedStdout(), &arguments),
              "\n==> Utl_Arguments: args @ Get_Argv_With_Null\n"
              "name: args, length: 1, size: 4\n");
}
