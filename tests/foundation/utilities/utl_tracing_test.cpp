#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_file_reader.h"
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
using message_test::Wide;

namespace {

class TracingTest : public testing::Test {
protected:
    void TearDown() override {
        Utl_Tracing::Reset();
        Utl_String_Map::Class_Trace.Reset();
    }
};

// The elements that Dissect_Value makes of Text, each by its image.
std::vector<std::string> Dissect(const char16_t* Text, bool* Good = nullptr) {
    Utl_Pointer_Array values;
    const bool good = Utl_Tracing::Dissect_Value(Fnd_String(Text), values);
    if (Good) *Good = good;
    std::vector<std::string> out;
    for (long i = 0; i < values.Get_Count(); ++i) {
        Fnd_String image;
        static_cast<const Utl_Trace_Data*>(values[i])->Image(image);
        out.push_back(Narrow(image));
    }
    return out;
}

std::string Address(const void* Object) {
    Fnd_String text;
    Utl_Tracing_Utilities::Value(text, Object, 0);
    return Narrow(text);
}

// Output with the address of Object written as "@".
std::string Without(std::string Output, const void* Object) {
    const std::string address = Address(Object);
    for (size_t at = Output.find(address); at != std::string::npos; at = Output.find(address))
        Output.replace(at, address.size(), "@");
    return Output;
}

// A host's table for the string map's class words, as Check_Arguments takes it.
const Code_Unit* const Class_Names[] = {u"string_map", u"string_set", u"string_array", nullptr};
void Set_Map_Level(long Value) { Utl_String_Map::Class_Trace.trace = static_cast<int32_t>(Value); }
void Set_Map_First(long Value) {
    Utl_String_Map::Class_Trace.specific_trace = static_cast<int32_t>(Value);
}
void Set_Map_Second(long Value) {
    Utl_String_Map::Class_Trace.specific2_trace = static_cast<int32_t>(Value);
}
long Global_Level = -1;
void Set_Global(long Value) { Global_Level = Value; }
const Utl_Tracing_Set_Trace_Element Trace_Rows[] = {{0, Set_Map_Level, 3}, {1, nullptr, 2},
                                                    {2, nullptr, 2}, {-1, nullptr, 0}};
const Utl_Tracing_Set_Specific_Element Specific_Rows[] = {{0, Set_Map_First, Set_Map_Second}};

Utl_Tracing_Tables Map_Tables(bool Update_Objects) {
    Utl_Tracing_Tables tables;
    tables.set_all_levels = Set_Global;
    tables.names = Class_Names;
    tables.trace_rows = Trace_Rows;
    tables.trace_count = 4;
    tables.specific_rows = Specific_Rows;
    tables.specific_count = 1;
    tables.update_objects = Update_Objects;
    return tables;
}

void Apply(const char16_t* Text, Utl_Trace_Option_Kind Kind, bool Update_Objects) {
    Utl_Pointer_Array values;
    ASSERT_TRUE(Utl_Tracing::Dissect_Value(Fnd_String(Text), values));
    Utl_Tracing::Check_Arguments(values, Kind, Map_Tables(Update_Objects));
}

}  // namespace

// ---- The value language

TEST_F(TracingTest, DissectValueReadsEachFormOfTheLanguage) {
    struct Case {
        const char16_t* text;
        std::vector<std::string> elements;
    };
    const Case cases[] = {
        {u"string_map:bind+unbind", {"\"string_map\" first=[23,24] others=(bind unbind)"}},
        {u"string_map+pointer_map:3", {"\"string_map|pointer_map\" level=3"}},
        {u"string_map:0x1f", {"\"string_map\" level=31"}},
        {u"string_map:", {}},
        {u"off", {"\"\" level=0"}},
        {u"all", {"\"\" level=1"}},
        {u"verbose", {"\"\" level=2"}},
        {u"3+string_map", {"\"\" level=3", "\"string_map\" level=-999"}},
        {u"4", {"\"\" level=4"}},
        {u"a:1;b:2", {"\"a\" level=1", "\"b\" level=2"}},
        {u"colours 0x1f2e", {"\"colours\" level=-999", "\"0x1f2e\" level=-999"}},
        {u"string_map:GET_RANGE|is_bound", {"\"string_map\" second=[0,1] others=(GET_RANGE is_bound)"}},
        {u"string_map:*bind", {"\"string_map\" first=[23,24] others=(*bind)"}},
        {u"string_map:contains+add", {"\"string_map\" first=[25] second=[2] others=(contains add)"}},
        {u"file_reader:mine", {"\"file_reader\" others=(mine)"}},
        {u"", {}},
    };
    for (const Case& c : cases) EXPECT_EQ(Dissect(c.text), c.elements) << Narrow(Fnd_String(c.text));
}

TEST_F(TracingTest, AMalformedNumberSetsNothingAndSaysSo) {
    for (const char16_t* text : {u"string_map:3x", u"all 7q", u"2+x;string_map:09"}) {
        testing::internal::CaptureStdout();
        bool good = true;
        EXPECT_TRUE(Dissect(text, &good).empty()) << Narrow(Fnd_String(text));
        EXPECT_FALSE(good);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "Invalid trace value: " + Narrow(Fnd_String(text)) + "\n");
    }
}

TEST_F(TracingTest, CheckOptionKindCutsTheKindWord) {
    struct Case {
        const char16_t* text;
        long kind;
        const char* rest;
    };
    const Case cases[] = {
        {u"show:all", 1, "all"},        {u"show verbose", 1, "verbose"},
        {u"showcase", 0, "showcase"},   {u"show:", 0, "show:"},
        {u"break:bind", 2, "bind"},     {u"break:", 0, "break:"},
        {u"breakage:1", 0, "breakage:1"}, {u"string_map:3", 0, "string_map:3"},
    };
    for (const Case& c : cases) {
        Fnd_String text(c.text);
        EXPECT_EQ(Utl_Tracing::Check_Option_Kind(text), c.kind) << c.rest;
        EXPECT_EQ(Narrow(text), c.rest);
    }
}

// ---- Applying values

TEST_F(TracingTest, ClassWordsAreSetThroughTheHostTables) {
    Apply(u"string_map:bind+unbind", Utl_Trace_Kind_Trace, false);
    EXPECT_EQ(Utl_String_Map::Class_Trace.specific_trace, (1 << 23) | (1 << 24));
    EXPECT_EQ(Utl_String_Map::Class_Trace.specific2_trace, 0);
    Apply(u"string_map", Utl_Trace_Kind_Trace, false);
    EXPECT_EQ(Utl_String_Map::Class_Trace.trace, 3) << "the row's default";
    Apply(u"string*:5 off", Utl_Trace_Kind_Trace, false);
    EXPECT_EQ(Utl_String_Map::Class_Trace.trace, 5);
    EXPECT_EQ(Global_Level, 0) << "a nameless element goes to set_all_levels";
}

TEST_F(TracingTest, APercentNameListsTheMatchesAndSetsNothing) {
    testing::internal::CaptureStdout();
    Apply(u"string%:4", Utl_Trace_Kind_Trace, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "  string_map\n  string_set\n  string_array\n");
    EXPECT_EQ(Utl_String_Map::Class_Trace.trace, 0);
}

TEST_F(TracingTest, AValueGivenBeforeTheObjectReachesItThroughThePendingList) {
    Apply(u"colours:bind", Utl_Trace_Kind_Trace, true);
    Apply(u"colours:get_range", Utl_Trace_Kind_Show, true);
    Apply(u"colours:2", Utl_Trace_Kind_Trace, true);
    Utl_String_Map map(Utl_Range_Long, 7);
    EXPECT_EQ(map.Trace.specific_trace, 0);
    map.Register_Object(u"colours");
    EXPECT_EQ(map.Trace.specific_trace, 1 << 23);
    EXPECT_EQ(map.Trace.specific2_show, 1 << 0);
    EXPECT_EQ(map.Trace.trace, 2);
    Utl_String_Map other(Utl_Range_Long, 7);
    other.Register_Object(u"shapes");
    EXPECT_FALSE(other.Trace.Any()) << "a name that doesn't match takes nothing";
}

TEST_F(TracingTest, AllAndOffReachEveryRegisteredObject) {
    Utl_String_Map a(Utl_Range_Long, 7), b(Utl_Range_Long, 7);
    a.Register_Object(u"a");
    b.Register_Object(u"b");
    b.Trace.specific_trace = 5;
    Apply(u"all", Utl_Trace_Kind_Trace, true);
    EXPECT_EQ(a.Trace.trace, 1);
    EXPECT_EQ(b.Trace.trace, 1);
    Apply(u"off", Utl_Trace_Kind_Trace, true);
    EXPECT_EQ(b.Trace.trace, 0);
    EXPECT_EQ(b.Trace.specific_trace, 0);
}

TEST_F(TracingTest, WithAllWordsZeroNothingIsRecordedOrPrinted) {
    testing::internal::CaptureStdout();
    {
        Utl_String_Map map(Utl_Range_String, 7);
        map.Bind(u"k", Fnd_String(u"v"));
        (void)map.Get_Range(u"k");
        (void)map.Unbind(u"k");
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    Fnd_String image;
    Utl_Tracing::Image(image, false);
    EXPECT_EQ(Narrow(image), "");
}

// ---- Traced string map: golden output

TEST_F(TracingTest, BindAndUnbindPrintTheirLines) {
    Utl_String_Map map(Utl_Range_String, 7);
    map.Set_Name(u"colours");
    Apply(u"string_map:bind+unbind", Utl_Trace_Kind_Trace, false);
    testing::internal::CaptureStdout();
    map.Bind(u"red", Fnd_String(u"ff0000"));
    (void)map.Get_Range(u"red");  // not asked for
    (void)map.Unbind(u"red");
    (void)map.Unbind(u"blue");
    EXPECT_EQ(Without(testing::internal::GetCapturedStdout(), &map),
              "\n==> Utl_String_Map: colours @ Bind \"red\" => \"ff0000\"\n"
              "\n==> Utl_String_Map: colours @ Unbind \"red\"\n"
              "\n==> Utl_String_Map: colours @ Unbind \"blue\"\n");
}

TEST_F(TracingTest, AShowBitPrintsTheMapAfterTheOperation) {
    Utl_String_Map map(Utl_Range_Long, 7);
    map.Trace.specific_show = 1 << 23;
    testing::internal::CaptureStdout();
    map.Bind(u"b", 2);
    map.Bind(u"a", 1);
    EXPECT_EQ(Without(testing::internal::GetCapturedStdout(), &map),
              "\n--- Utl_String_Map: @ Bind\n   b => 2\n"
              "\n--- Utl_String_Map: @ Bind\n   a => 1\n   b => 2\n");
}

TEST_F(TracingTest, ABreakBitEntersTheInstalledCommandLoop) {
    static int loops = 0;
    Utl_Tracing::command_loop = [](void*) { ++loops; };
    Utl_String_Map map(Utl_Range_Long, 7);
    map.Trace.specific_break = 1 << 24;
    map.Bind(u"a", 1);
    (void)map.Unbind(u"a");
    EXPECT_EQ(loops, 1);
}

// ---- Show commands and operations

TEST_F(TracingTest, ShowCommandsFindObjectsByNameClassAndAddress) {
    Utl_Tracing::trace_objects = 1;
    Utl_String_Map map(Utl_Range_Long, 7);
    map.Bind(u"x", 1);
    map.Register_Object(u"numbers");
    testing::internal::CaptureStdout();
    Utl_Tracing::Show_Command(Fnd_String(u"numbers"), Fnd_String(), Fnd_String(), Fnd_String());
    Utl_Tracing::Show_Command(Fnd_String(Wide(Address(&map))), Fnd_String(u"info"), Fnd_String(),
                              Fnd_String());
    Utl_Tracing::Show_Command(Fnd_String(u"nosuch"), Fnd_String(), Fnd_String(), Fnd_String());
    Utl_Tracing::Show_Command(Fnd_String(u"string_set"), Fnd_String(), Fnd_String(), Fnd_String());
    EXPECT_EQ(Without(testing::internal::GetCapturedStdout(), &map),
              "\n--- Utl_String_Map: numbers @\n   x => 1\n"
              "name: numbers, length: 1, size: 7\n"
              "Unknown show command: nosuch\n"
              "Unknown show command: string_set\n");
}

TEST_F(TracingTest, AClassIsListedWithOrWithoutItsPrefix) {
    Utl_Tracing::trace_objects = 1;
    Utl_String_Map map(Utl_Range_Long, 3);
    testing::internal::CaptureStdout();
    Utl_Tracing::Show_Command(Fnd_String(u"Utl_String_Map"), Fnd_String(), Fnd_String(),
                              Fnd_String());
    const std::string out = Without(testing::internal::GetCapturedStdout(), &map);
    EXPECT_EQ(out.substr(0, 19), "string_map objects\n");
    EXPECT_NE(out.find(" @ length: 0, size: 3\n"), std::string::npos) << out;
}

TEST_F(TracingTest, OperationsSetAndClearWordsByTheirBitValues) {
    Utl_String_Map map(Utl_Range_Long, 7);
    map.Register_Object(u"m");
    Utl_Tracing::Object_Operation(Fnd_String(u"m"), Fnd_String(u"set"), Fnd_String(u"0x40"),
                                  Fnd_String(u"12"));
    Utl_Tracing::Object_Operation(Fnd_String(u"m"), Fnd_String(u"set"), Fnd_String(u"1"),
                                  Fnd_String(u"3"));
    Utl_Tracing::Object_Operation(Fnd_String(u"m"), Fnd_String(u"set"), Fnd_String(u"256"),
                                  Fnd_String(u"3"));  // no other show word: ignored
    EXPECT_EQ(map.Trace.specific_show, 12);
    EXPECT_EQ(map.Trace.trace, 3);
    Utl_Tracing::Object_Operation(Fnd_String(u"m"), Fnd_String(u"clear"), Fnd_String(u"1"),
                                  Fnd_String());
    EXPECT_EQ(map.Trace.specific_show, 0);
    EXPECT_EQ(map.Trace.trace, 3);
    testing::internal::CaptureStdout();
    Utl_Tracing::Object_Operation(Fnd_String(u"zz"), Fnd_String(u"set"), Fnd_String(u"1"),
                                  Fnd_String(u"1"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Object not found: zz\n");
}

TEST_F(TracingTest, TheRegistryFollowsTheLifeOfObjects) {
    Utl_Tracing::trace_objects = 1;
    {
        Utl_String_Map first(Utl_Range_Long, 5);
        Utl_String_Map* pooled = Utl_String_Map::Get(Utl_Range_Long, 47, 0, Utl_Case_Unchanged,
                                                     nullptr);
        pooled->Free();
        Fnd_String image;
        Utl_Tracing::Image(image, false);
        EXPECT_EQ(Narrow(image), "string_map objects_seen: 2, current: 2, freed: 1");
    }
    Fnd_String image;
    Utl_Tracing::Image(image, false);
    EXPECT_EQ(Narrow(image), "string_map objects_seen: 2, current: 1, freed: 1");
}

TEST_F(TracingTest, TheCommandLoopRunsCommandsUntilTheInputEnds) {
    Utl_String_Map map(Utl_Range_Long, 7);
    map.Register_Object(u"m");
    std::vector<Fnd_String> lines = {Fnd_String(u"set m 2 8"), Fnd_String(u"frobnicate"),
                                     Fnd_String(u"show m info")};
    size_t next = 0;
    testing::internal::CaptureStdout();
    Utl_Tracing::Run_Commands([&](Fnd_String& Line) {
        if (next == lines.size()) return false;
        Line = lines[next++];
        return true;
    });
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Unknown command: frobnicate (info, show, set, clear)\n"
              "name: m, length: 0, size: 7\n");
    EXPECT_EQ(map.Trace.specific_trace, 8);
    EXPECT_EQ(next, lines.size());
}

// ---- Images

TEST_F(TracingTest, BitsAndBytesImages) {
    Fnd_String bits;
    Utl_Tracing_Bits_Image(bits, 0, true);
    Utl_Tracing_Bits_Image(bits, (1 << 0) | (1 << 5) | (1 << 30), true);
    EXPECT_EQ(Narrow(bits), " 0 [0,5,30]");
    const unsigned char bytes[] = {'a', 10, 'b', 200, 'c', 'd'};
    Fnd_String image(u"old");
    Utl_Tracing_Utilities::Bytes_Image(image, bytes, 0, 0);
    EXPECT_EQ(Narrow(image), "");
    Utl_Tracing_Utilities::Bytes_Image(image, bytes, 6, 0);
    EXPECT_EQ(Narrow(image), "a\\10b\\200cd");
    image.Make_Empty();
    Utl_Tracing_Utilities::Bytes_Image(image, bytes, 6, 1);
    EXPECT_EQ(Narrow(image), "a\\10b...");
    Fnd_String field;
    Utl_Tracing_Utilities::prefix = u"#";
    Utl_Tracing_Utilities::Field(field, u"count", 3L, 1);
    Utl_Tracing_Utilities::Aligned_Value(field, 42L, 5, true, false);
    Utl_Tracing_Utilities::prefix = nullptr;
    EXPECT_EQ(Narrow(field), "#    count => 3\n   42");
}

// ---- Show output of each container kind


namespace {

template <class Container>
std::string Shown(const Container& Object) {
    testing::internal::CaptureStdout();
    Object.Show(u"now");
    return Without(testing::internal::GetCapturedStdout(), &Object);
}

}  // namespace

TEST_F(TracingTest, EachContainerKindShowsItsContent) {
    Utl_String_Map map(Utl_Range_String, 7);
    map.Set_Name(u"m");
    map.Bind(u"k", Fnd_String(u"v"));
    Utl_String_Set set(7);
    set.Add(u"b");
    set.Add(u"a");
    Utl_Pointer_Map pointers(Utl_Domain_Long, Utl_Range_Long, 7);
    pointers.Bind(2L, 20L);
    Utl_Pointer_Set words(Utl_Range_Long, 7);
    words.Add(reinterpret_cast<void*>(5L));
    Utl_Pointer_Array array(4);
    array.Add(nullptr);
    Utl_String_Array strings(4);
    strings.Add(u"one");
    strings.Add(u"two");
    Utl_Long_Array numbers(4);
    numbers.Add(7);
    numbers.Add(-1);
    Utl_String_Array empty(4);
    empty.Set_Name(u"nothing");

    EXPECT_EQ(Shown(map), "\n--- Utl_String_Map: m @ now\n   k => \"v\"\n");
    EXPECT_EQ(Shown(set), "\n--- Utl_String_Set: @ now\n   \"a\"\n   \"b\"\n");
    EXPECT_EQ(Shown(pointers), "\n--- Utl_Pointer_Map: @ now\n   2 => 20\n");
    EXPECT_EQ(Shown(words), "\n--- Utl_Pointer_Set: @ now\n   5\n");
    EXPECT_EQ(Shown(array), "\n--- Utl_Pointer_Array: @ now\n   null\n");
    EXPECT_EQ(Shown(strings), "\n--- Utl_String_Array: @ now\n   one\n   two\n");
    EXPECT_EQ(Shown(numbers), "\n--- Utl_Long_Array: @ now\n   7\n   -1\n");
    EXPECT_EQ(Shown(empty), "\n--- Utl_String_Array: nothing @ now\n   empty_array\n");
}

TEST_F(TracingTest, ALongArrayHasNoWordsAndTakesNoPendingCommand) {
    Apply(u"all", Utl_Trace_Kind_Trace, true);
    Apply(u"numbers:bind", Utl_Trace_Kind_Trace, true);
    Utl_Long_Array numbers(4);
    numbers.Register_Object(u"numbers");  // no words: nothing to set, and no crash
    Utl_String_Array names(4);
    names.Register_Object(u"names");
    EXPECT_EQ(names.Trace.trace, 1) << "the pending all reaches a class with a level";
    testing::internal::CaptureStdout();
    Utl_Tracing::Object_Operation(Fnd_String(u"numbers"), Fnd_String(u"show"),
                                  Fnd_String(u"info"), Fnd_String());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "name: numbers, length: 0, size: 4\n");
}

TEST_F(TracingTest, ArraysAndSetsTraceTheirOperations) {
    Utl_String_Array strings(4);
    Utl_Pointer_Set words(Utl_Range_Long, 7);
    strings.Trace.specific_trace = (1 << 25) | (1 << 30);
    words.Trace.specific2_trace = 1 << 2;
    testing::internal::CaptureStdout();
    strings.Add(u"x");
    strings.Delete(0);
    (void)words.Contains(reinterpret_cast<void*>(9L));
    const std::string out =
        Without(Without(testing::internal::GetCapturedStdout(), &strings), &words);
    EXPECT_EQ(out,
              "\n==> Utl_String_Array: @ Add \"x\"\n"
              "\n==> Utl_String_Array: @ Delete 0 0\n"
              "\n==> Utl_Pointer_Set: @ Contains 0x9\n");
}

// ---- The file reader's words and images

TEST_F(TracingTest, TheFileReaderTracesItsLinesAndShowsItsState) {
    Utl_File_Reader reader(Fnd_String(u"one\ntwo"), Utl_Reader_Text);
    reader.Register_Object(u"text");
    reader.Define_Variable(Fnd_String(u"A"), Fnd_String(u"1"));
    Utl_Tracing::Object_Operation(Fnd_String(u"text"), Fnd_String(u"set"), Fnd_String(u"4"),
                                  Fnd_String(u"0x4000"));  // "read" in the second mask
    testing::internal::CaptureStdout();
    ASSERT_TRUE(reader.Getline());
    ASSERT_TRUE(reader.Getline());
    ASSERT_FALSE(reader.Getline());
    reader.Show(u"now");
    EXPECT_EQ(Without(testing::internal::GetCapturedStdout(), &reader),
              "\n==> Utl_File_Reader: text @ Getline 1: one\n"
              "\n==> Utl_File_Reader: text @ Getline 2: two\n"
              "\n==> Utl_File_Reader: text @ Getline 2: end\n"
              "\n--- Utl_File_Reader: text @ now\n"
              "multi, length: 7, index: 8, opts: 15\nSTRING_VALUE:one\ntwo\n"
              "defined_symbols\n   A => 1\n");
    EXPECT_EQ(reader.Trace.specific2_trace, 1 << 14);

    const Utl_File_Reader none;
    Fnd_String image;
    none.Image(image, false);
    EXPECT_EQ(Narrow(image), "file: , line: 0, last: , opts: 0");
}

TEST_F(TracingTest, NoRecordOutlivesItsObject) {
    Utl_Tracing::trace_objects = 1;
    auto* recorded = new Utl_String_Map(Utl_Range_Long, 7);
    auto* named = new Utl_Pointer_Array(4);
    named->Register_Object(u"gone");
    Utl_Tracing::trace_objects = 0;  // the objects end after reporting was turned off
    delete recorded;
    delete named;
    Utl_String_Map later(Utl_Range_Long, 7);
    later.Register_Object(u"kept");
    Utl_String_Map same_name(Utl_Range_Long, 7);
    {
        Utl_String_Map earlier(Utl_Range_Long, 7);
        earlier.Register_Object(u"kept");
        same_name.Register_Object(u"kept");  // takes the name over
    }
    testing::internal::CaptureStdout();
    Utl_Tracing::Show_Command(Fnd_String(u"string_map"), Fnd_String(), Fnd_String(), Fnd_String());
    Utl_Tracing::Show_Command(Fnd_String(u"gone"), Fnd_String(), Fnd_String(), Fnd_String());
    Utl_Tracing::Show_Command(Fnd_String(u"kept"), Fnd_String(u"info"), Fnd_String(), Fnd_String());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "No objects of type string_map recorded\n"
              "Unknown show command: gone\n"
              "name: kept, length: 0, size: 7\n");
}

TEST_F(TracingTest, EverythingTracedAtOnceStillPrintsAndEnds) {
    Utl_Tracing::trace = 3;
    Utl_Tracing::trace_objects = 1;
    Utl_String_Map::Class_Trace.trace = 3;
    Utl_String_Map::Class_Trace.specific_show = -1;
    testing::internal::CaptureStdout();
    {
        Utl_String_Map map(Utl_Range_String, 7);
        map.Register_Object(u"all");
        map.Bind(u"k", Fnd_String(u"v"));
        Utl_Tracing::Show_Command(Fnd_String(u"string_map"), Fnd_String(u"all"), Fnd_String(),
                                  Fnd_String());
    }
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("Utl_String_Map: all "), std::string::npos) << out;
    EXPECT_NE(out.find("k => \"v\""), std::string::npos) << out;
}

// ---- Other, string and long rows; clients, show functions and removal

namespace {

const Code_Unit* const Reader_Names[] = {u"file_reader", u"host", nullptr};
const Code_Unit* const Reader_Words[] = {u"directives", u"skipped", u"includes", nullptr};
int32_t Other_Mask = 0;
std::vector<std::string> String_Calls;
long Long_Value = 0;

}  // namespace

TEST_F(TracingTest, OtherStringAndLongRowsTakeTheirWords) {
    const Utl_Tracing_Set_Other_Element other_rows[] = {
        {0, [](long V) { Other_Mask = static_cast<int32_t>(V); }, Reader_Words, nullptr, nullptr}};
    const Utl_Tracing_Client_String_Element string_rows[] = {
        {u"host", [](const Fnd_String& V) { String_Calls.push_back(Narrow(V)); }}};
    const Utl_Tracing_Client_Long_Element long_rows[] = {{u"host", [](long V) { Long_Value = V; }}};
    Utl_Tracing_Tables tables;
    tables.names = Reader_Names;
    tables.other_rows = other_rows;
    tables.other_count = 1;
    tables.string_rows = string_rows;
    tables.string_count = 1;
    tables.long_rows = long_rows;
    tables.long_count = 1;
    Utl_Pointer_Array values;
    ASSERT_TRUE(Utl_Tracing::Dissect_Value(Fnd_String(u"file_reader:skipped+includes host:x+y host:7"),
                                           values));
    Utl_Tracing::Check_Arguments(values, Utl_Trace_Kind_Trace, tables);
    EXPECT_EQ(Other_Mask, (1 << 1) | (1 << 2));
    EXPECT_EQ(String_Calls, (std::vector<std::string>{"x", "y"}));
    EXPECT_EQ(Long_Value, 7);

    // A "%" word lists the row's words that match and sets nothing.
    Other_Mask = 0;
    Utl_Pointer_Array listing;
    ASSERT_TRUE(Utl_Tracing::Dissect_Value(Fnd_String(u"file_reader:%s%"), listing));
    testing::internal::CaptureStdout();
    Utl_Tracing::Check_Arguments(listing, Utl_Trace_Kind_Trace, tables);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "  file_reader\n    directives\n    skipped\n    includes\n");
    EXPECT_EQ(Other_Mask, 0);
}

TEST_F(TracingTest, ClientsShowFunctionsResetAndRemove) {
    static long client_kind = -1;
    Utl_Tracing::Add_Client([](long Kind, Utl_Pointer_Array&) { client_kind = Kind; },
                            [](const Fnd_String& Name, const Fnd_String& Option,
                               const Fnd_String&) -> long {
                                if (!(Name == u"mine")) return 0;
                                Utl_Tracing_Print(u"mine shows " + Option);
                                return 1;
                            });
    Utl_Pointer_Array values;
    Utl_Tracing::Check_Trace_Clients(2, values);
    EXPECT_EQ(client_kind, 2);

    Utl_Tracing::trace_objects = 1;
    Utl_String_Map map(Utl_Range_Long, 7);
    map.Register_Object(u"m");
    map.Trace.trace = 3;
    map.Trace.specific_trace = 9;
    Utl_Tracing::Object_Reset_Words(0);
    EXPECT_FALSE(map.Trace.Any());
    void* object = nullptr;
    Fnd_String class_name;
    ASSERT_TRUE(Utl_Tracing::Get_Object(Fnd_String(u"m"), object, class_name));
    EXPECT_EQ(object, &map);
    EXPECT_EQ(Narrow(class_name), "string_map");
    Utl_Tracing::Set_Info(&map, u"renamed", nullptr);

    testing::internal::CaptureStdout();
    Utl_Tracing::Show_Command(Fnd_String(u"mine:a"), Fnd_String(), Fnd_String(), Fnd_String());
    Utl_Tracing::Object_Operation(Fnd_String(u"string_map"), Fnd_String(u"remove"),
                                  Fnd_String(Wide(Address(&map))), Fnd_String());
    Utl_Tracing::Show_Command(Fnd_String(u"string_map"), Fnd_String(), Fnd_String(), Fnd_String());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "mine shows a\nNo objects of type string_map recorded\n");
}
