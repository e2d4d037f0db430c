#include "foundation/utilities/utl_tracing.h"

#include <algorithm>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

#include "foundation/base/fnd_string_iterator.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_timestamp.h"
#include "foundation/streams/ztconsole.h"
#include "foundation/textio/tio_streams.h"
#include "foundation/textio/tio_text_input.h"
#include "foundation/utilities/utl_long_array.h"
#include "foundation/utilities/utl_name_matcher.h"
#include "foundation/utilities/utl_pointer_array.h"
#include "foundation/utilities/utl_string_array.h"
#include "foundation/utilities/utl_string_utilities.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "foundation/utilities/utl_type_utilities.h"
#include "ztcoreutil/tchar.h"

// ---- Name tables

const Code_Unit* const Utl_Opnames[] = {
    u"constructor", u"copy",       u"assign",    u"equals",     u"destructor", u"convert",
    u"indexing",    u"plus",       u"minus",     u"built",      u"start",      u"end",
    u"objects",     u"register",   u"set_name",  u"operation",  u"get",        u"free",
    u"recreate",    u"add_values", u"make_empty", u"shorten",   u"sort",       u"bind",
    u"unbind",      u"add",        u"remove",    u"set",        u"insert",     u"replace",
    u"delete",      nullptr};

const Code_Unit* const Utl_Opname2s[] = {
    u"get_range", u"is_bound", u"contains", u"index",    u"compare", u"append",
    u"extend",    u"transfer", u"truncate", u"alias",    u"encode",  u"clear",
    u"open",      u"close",    u"read",     u"write",    nullptr};

const Code_Unit* const Utl_Eu_Cnames[] = {
    u"arguments",     u"file_reader",          u"file_string_map",     u"long_array",
    u"name_matcher",  u"pathname",             u"pointer_array",       u"pointer_map",
    u"pointer_map_iterator", u"pointer_set",   u"pointer_set_iterator", u"string_array",
    u"string_map",    u"string_map_iterator",  u"string_set",          u"string_set_iterator",
    u"string_utilities", u"tracing",           nullptr};

const Code_Unit* const Utl_Base_Cnames[] = {
    u"char_buffer", u"condition", u"editor_coupler", u"file_data", u"file_output", u"string",
    u"string_library", u"string_output", u"text_output_stream", nullptr};

const Code_Unit* const Utl_Trc_Cmds[] = {u"info", u"show", u"set", u"clear", nullptr};
const Code_Unit* const Utl_Trc_Wrds[] = {u"terse", u"verbose", nullptr};
const Code_Unit* const Utl_Diag_Kinds[] = {u"break", u"show", nullptr};

namespace {

// ---- The registry

struct Object_Record {
    Fnd_String class_name;
    Fnd_String name;
    bool has_name = false;
    void* object = nullptr;
    void* parent = nullptr;
    Utl_Trace_Operation operation = nullptr;
    time_t created = 0;
    long sequence = 0;  // orders records made in the same second
    int32_t words = 0;
    bool freed = false;
};

struct Class_Data {
    Utl_Trace_Operation operation = nullptr;
    long objects_seen = 0;
    long freed = 0;
    std::unordered_map<const void*, std::unique_ptr<Object_Record>> objects;
};

// What Check_Arguments saved of the tables of one kind.
struct Kind_State {
    std::vector<std::unique_ptr<Utl_Trace_Data>> pending;
    const Code_Unit* const* names = nullptr;
    std::vector<Utl_Tracing_Set_Trace_Element> trace_rows;
    std::map<std::u16string, std::pair<const Code_Unit* const*, const Code_Unit* const*>>
        other_words;
    bool saved = false;
    bool built = false;
};

struct Registry {
    std::map<std::u16string, Class_Data> classes;
    std::map<std::u16string, std::unique_ptr<Object_Record>> objects;  // by given name
    std::vector<Utl_Trace_Client> clients;
    std::vector<Utl_Show_Function> show_functions;
    Kind_State kinds[3];
    long sequence = 0;
};

Registry& The_Registry() {
    static Registry* const registry = new Registry;  // lives to the end of the process
    return *registry;
}

std::u16string Key(const Fnd_String& Text) {
    return std::u16string(Text.Data(), static_cast<size_t>(Text.Get_Length()));
}

Fnd_String Text(const std::u16string& Key) { return Fnd_String(Key.c_str()); }

// trace_objects at -1 for the life of the guard: the registry's own work reports nothing.
class Registry_Guard {
public:
    Registry_Guard() : Saved(Utl_Trace_Objects) { Utl_Trace_Objects = -1; }
    ~Registry_Guard() { Utl_Trace_Objects = Saved; }
    Registry_Guard(const Registry_Guard&) = delete;
    Registry_Guard& operator=(const Registry_Guard&) = delete;

private:
    int32_t Saved;
};

// Keeps Utl_Trace_Records equal to the records held, so that objects tell of their end.
void Count_Records() {
    Registry& registry = The_Registry();
    size_t count = registry.objects.size();
    for (const auto& [name, data] : registry.classes) count += data.objects.size();
    Utl_Trace_Records = static_cast<int32_t>(std::min<size_t>(count, INT32_MAX));
}

bool Life_Traced() { return Utl_Tracing::trace >= 2 || (Utl_Tracing::other_trace & 1); }

void Trace_Call(const Code_Unit* Label, const Fnd_String& Detail, bool Life) {
    if (Life ? !Life_Traced() : Utl_Tracing::trace == 0) return;
    Fnd_String line(u"\n");
    line.Append(Utl_Type_Utilities::Trace_Start);
    line.Append(u"Utl_Tracing: ");
    line.Append(Label);
    line.Append(Detail);
    Utl_Tracing_Print(line);
}

Fnd_String Address_Text(const void* Address) {
    Fnd_String text;
    Utl_Tracing_Utilities::Value(text, Address, 0);
    return text;
}

Fnd_String Number_Text(long Value) {
    Fnd_String text;
    Utl_Tracing_Utilities::Value(text, Value, 0);
    return text;
}

bool Has(const Fnd_String& Text, Code_Unit What) {
    return Utl_String_Utilities::Locate(What, Text, 0) >= 0;
}

long Locate_From(Code_Unit What, const Fnd_String& Text, long From) {
    return Utl_String_Utilities::Locate(What, Text, From);
}

void Replace_All(Fnd_String& Text, Code_Unit From, Code_Unit To) {
    for (long i = 0; i < Text.Get_Length(); ++i)
        if (Text[i] == From) Text.Set(i, Fnd_Char(To));
}

bool Starts_With_Digit(const Fnd_String& Text) {
    return !Text.Is_Empty() && Text[0] >= u'0' && Text[0] <= u'9';
}

bool Is_Address(const Fnd_String& Text) {
    void* address = nullptr;
    return Text.Get_Length() > 2 && Utl_String_Utilities::Get_Address(Text, address);
}

Fnd_String Sub(const Fnd_String& Text, long From, long To) {  // [From, To)
    if (To <= From) return Fnd_String();
    return Text.Get(From, To - From);
}

// Indexes 0 to Count - 1 of Names that Pattern matches, ignoring case.
void Matches(const Fnd_String& Pattern, const Code_Unit* const* Names, long Count,
             Utl_Long_Array& Out) {
    if (Count <= 0 || !Names) return;
    Utl_String_Utilities::Find_Matches(Pattern, Out, Count - 1, Names, nullptr, 0, 1);
}

// The names of the rows of a table, ended by a null.
template <class Row>
std::vector<const Code_Unit*> Row_Names(const Code_Unit* const* Names, const Row* Rows,
                                        long Count) {
    std::vector<const Code_Unit*> out;
    for (long i = 0; Rows && i < Count && Rows[i].name_index >= 0; ++i)
        out.push_back(Names ? Names[Rows[i].name_index] : u"");
    out.push_back(nullptr);
    return out;
}

template <class Row>
std::vector<const Code_Unit*> Client_Names(const Row* Rows, long Count) {
    std::vector<const Code_Unit*> out;
    for (long i = 0; Rows && i < Count; ++i) out.push_back(Rows[i].name);
    out.push_back(nullptr);
    return out;
}

bool Lone_Wild_Other(const Utl_Trace_Data& Element) {
    return Element.others && Element.others->Get_Count() == 1 && (*Element.others)[0] &&
           Has(*(*Element.others)[0], u'%');
}

// The listing of a "%" name: two blanks and each name that matches.
void List_Matches(const Utl_Long_Array& Found, const std::vector<const Code_Unit*>& Names) {
    for (long i = 0; i < Found.Get_Count(); ++i)
        Utl_Tracing_Print(u"  " + Fnd_String(Names[static_cast<size_t>(Found[i])]));
}

// The mask of the others words in List; with Label, a "%" word lists its matches.
bool Set_Other_Word(int32_t& Mask, const Code_Unit* const* List, const Utl_Trace_Data& Element,
                    const Code_Unit* Label) {
    Mask = 0;
    if (!List || !Element.others) return false;
    long count = 0;
    while (List[count]) ++count;
    bool labelled = false;
    for (long w = 0; w < Element.others->Get_Count(); ++w) {
        const Fnd_String* word = (*Element.others)[w];
        if (!word) continue;
        Utl_Long_Array found(10);
        Matches(*word, List, count, found);
        if (Label && Has(*word, u'%')) {
            if (!labelled) Utl_Tracing_Print(u"  " + Fnd_String(Label));
            labelled = true;
            for (long i = 0; i < found.Get_Count(); ++i)
                Utl_Tracing_Print(u"    " + Fnd_String(List[found[i]]));
            continue;
        }
        for (long i = 0; i < found.Get_Count(); ++i)
            if (found[i] < 31) Mask |= static_cast<int32_t>(1u << found[i]);
    }
    return Mask != 0;
}

bool Name_Matches(const Fnd_String& Name, const Utl_Trace_Data& Element) {
    Fnd_String pattern(Element.name);
    long wild = 0;
    long percent = 0;
    Utl_String_Utilities::Transform_Command(pattern, wild, percent);
    if (wild) return Utl_Name_Matcher(pattern, 1, 1, 1).Match(Name) != 0;
    return _tcsicmp(Name.Data(), Element.name.Data()) == 0;
}

void Set_Word(const Object_Record& Record, long Bit, long Value) {
    Record.operation(Record.object, Fnd_String(u"set"), Number_Text(1L << Bit),
                     Number_Text(Value));
}

long Default_Value(const Object_Record& Record, const Utl_Trace_Data& Element,
                   const Kind_State& Kind) {
    if (Element.level != Utl_Trace_Data::Default_Level) return Element.level;
    if (!Kind.names) return 1;
    for (long i = 0; Kind.names[i]; ++i) {
        if (!(Record.class_name == Kind.names[i])) continue;
        for (const auto& row : Kind.trace_rows)
            if (row.name_index == i) return row.default_level;
        return 1;
    }
    return 1;
}

void Check_Words(const Object_Record& Record, long Base, const Utl_Trace_Data& Element,
                 const Kind_State& Kind) {
    auto has = [&](long Bit) { return (Record.words >> Bit) & 1; };
    if (Element.has_level && has(Base))
        Set_Word(Record, Base, Default_Value(Record, Element, Kind));
    if (Element.has_first && has(Base + 1)) Set_Word(Record, Base + 1, Element.first_mask);
    if (Element.has_second && has(Base + 2)) Set_Word(Record, Base + 2, Element.second_mask);
    if (!Element.others || Record.class_name.Is_Empty()) return;
    const auto lists = Kind.other_words.find(Key(Record.class_name));
    if (lists == Kind.other_words.end()) return;
    int32_t mask = 0;
    const auto& [first_words, second_words] = lists->second;
    if (has(Base + 3) && first_words && Set_Other_Word(mask, first_words, Element, nullptr))
        Set_Word(Record, Base + 3, mask);
    if (has(Base + 4) && second_words && Set_Other_Word(mask, second_words, Element, nullptr))
        Set_Word(Record, Base + 4, mask);
}

void Check_Pending(const Object_Record& Record) {
    if (!Record.operation || !Record.words) return;
    Registry& registry = The_Registry();
    for (long kind = 0; kind < 3; ++kind) {
        const long base = kind * Utl_Trace_Kind_Bits;
        for (const auto& element : registry.kinds[kind].pending) {
            if (!element->name.Is_Empty()) {
                if (Record.has_name && Name_Matches(Record.name, *element))
                    Check_Words(Record, base, *element, registry.kinds[kind]);
            } else if (element->level != 0 && ((Record.words >> base) & 1)) {
                Set_Word(Record, base, element->level);
            }
        }
    }
}

// Every record of every class, then every registered one.
template <class Visit>
void For_All_Records(Visit&& Visitor) {
    Registry& registry = The_Registry();
    std::vector<const Object_Record*> records;
    for (const auto& [name, data] : registry.classes)
        for (const auto& [address, record] : data.objects) records.push_back(record.get());
    for (const auto& [name, record] : registry.objects) records.push_back(record.get());
    for (const Object_Record* record : records) Visitor(*record);
}

void Set_All(long Kind, long Level) {
    const long base = Kind * Utl_Trace_Kind_Bits;
    For_All_Records([&](const Object_Record& Record) {
        if (!Record.operation || !Record.words) return;
        if (Level == 0)
            Record.operation(Record.object, Fnd_String(u"clear"), Number_Text(Kind), Fnd_String());
        else if ((Record.words >> base) & 1)
            Set_Word(Record, base, Level);
    });
}

const Object_Record* Find_Registered(const void* Address) {
    for (const auto& [name, record] : The_Registry().objects)
        if (record->object == Address) return record.get();
    return nullptr;
}

const Object_Record* Find_Recorded(const void* Address) {
    for (const auto& [name, data] : The_Registry().classes) {
        const auto found = data.objects.find(Address);
        if (found != data.objects.end()) return found->second.get();
    }
    return nullptr;
}

const Object_Record* Find_Object(const void* Address, bool Print) {
    const Object_Record* record = Find_Registered(Address);
    if (!record) record = Find_Recorded(Address);
    if (!record && Print) Utl_Tracing_Print(u"Object not found: " + Address_Text(Address));
    return record;
}

// Class keys that Text names, with or without a four-character prefix such as "Utl_".
std::vector<std::u16string> Domain_Matches(const Fnd_String& Text, bool Prefix_Ok) {
    Registry& registry = The_Registry();
    std::vector<const Code_Unit*> names;
    for (const auto& [name, data] : registry.classes) names.push_back(name.c_str());
    names.push_back(nullptr);
    Utl_Long_Array found(10);
    const long count = static_cast<long>(names.size()) - 1;
    Matches(Text, names.data(), count, found);
    if (found.Get_Count() == 0 && Prefix_Ok && Text.Get_Length() >= 5 && Text[3] == u'_')
        Matches(Text.Get(4, Text.Get_Length() - 4), names.data(), count, found);
    std::vector<std::u16string> out;
    for (long i = 0; i < found.Get_Count(); ++i) out.emplace_back(names[found[i]]);
    return out;
}

void Print_No_Newline(const Fnd_String& Text) { get_ztcout() << Text << std::flush; }

// Lists the objects of a class, or with Left "all" or "." shows each one.
void Show_Objects(const std::u16string& Class, const Class_Data& Data, const Fnd_String& Left,
                  const Fnd_String& Right) {
    if (Data.objects.empty()) {
        Utl_Tracing_Print(u"No objects of type " + Text(Class) + u" recorded");
        return;
    }
    Utl_Tracing_Print(Text(Class) + u" objects");
    std::vector<const Object_Record*> records;
    for (const auto& [address, record] : Data.objects) records.push_back(record.get());
    std::sort(records.begin(), records.end(), [](const auto* A, const auto* B) {
        return A->created != B->created ? A->created < B->created : A->sequence < B->sequence;
    });
    if (Left == Utl_Type_Utilities::All || Left == u".") {
        for (const Object_Record* record : records)
            if (record->operation)
                record->operation(record->object, Fnd_String(u"show"), Right, Fnd_String());
        return;
    }
    long width = 0;
    for (const Object_Record* record : records)
        width = std::max(width, Address_Text(record->object).Get_Length());
    for (const Object_Record* record : records) {
        Fnd_String line(Utl_Type_Utilities::Prefix);
        line.Append(Hst_Timestamp(static_cast<int64_t>(record->created))
                        .Image(No_Date, Military_Time, 1));
        line.Append(u" ");
        Utl_Tracing_Utilities::Aligned_Value(line, Address_Text(record->object), width, false,
                                             false, false);
        if (record->has_name && !Find_Registered(record->object)) {
            line.Append(u" name: ");
            line.Append(record->name);
        }
        if (record->parent) {
            line.Append(u" parent: ");
            const Object_Record* parent = Find_Object(record->parent, false);
            line.Append(parent && parent->has_name ? parent->name : Address_Text(record->parent));
        }
        line.Append(u" ");
        if (record->operation) {
            Print_No_Newline(line);
            record->operation(record->object, Fnd_String(u"show"), Fnd_String(u"info"),
                              Fnd_String());
        } else {
            Utl_Tracing_Print(line);
        }
    }
}

bool Show_Registered_Class(const Fnd_String& Name, const Fnd_String& Left,
                           const Fnd_String& Right) {
    Registry& registry = The_Registry();
    const std::vector<std::u16string> classes = Domain_Matches(Name, true);
    for (const std::u16string& key : classes) {
        const Class_Data& data = registry.classes[key];
        if (data.operation && !Left.Is_Empty()) {
            void* address = Utl_Tracing::Get_Address(Left);
            if (!address) address = Utl_Tracing::Get_Address(Right);
            const Object_Record* record = nullptr;
            if (address) {
                const auto found = data.objects.find(address);
                if (found != data.objects.end()) record = found->second.get();
                else Utl_Tracing_Print(u"Object not found: " + Address_Text(address));
            } else {
                for (const auto& [at, candidate] : data.objects)
                    if (candidate->has_name && candidate->name == Left) record = candidate.get();
            }
            if (record) {
                data.operation(record->object, Fnd_String(u"show"), Fnd_String(), Fnd_String());
                continue;
            }
            if (address) continue;
        }
        Show_Objects(key, data, Left, Right);
    }
    return !classes.empty();
}

bool Show_Object(const Fnd_String& Name, const Fnd_String& Left, const Fnd_String& Right) {
    if (void* address = Utl_Tracing::Get_Address(Name)) {
        const Object_Record* record = Find_Object(address, true);
        if (record && record->operation)
            record->operation(record->object, Fnd_String(u"show"), Left, Right);
        return true;
    }
    Utl_Trace_Data pattern;
    pattern.name = Name;
    bool shown = false;
    std::vector<const Object_Record*> records;
    for (const auto& [name, record] : The_Registry().objects)
        if (Name_Matches(record->name, pattern)) records.push_back(record.get());
    for (const Object_Record* record : records) {
        if (!record->operation) continue;
        record->operation(record->object, Fnd_String(u"show"), Left, Right);
        shown = true;
    }
    return shown;
}

// "string" and "condition" take the address of an object that the registry knows
// under that class; an address typed by hand is never read blindly.
bool Show_Class_Object(const Fnd_String& Name, const Fnd_String& Left) {
    if (!(Name == u"string") && !(Name == u"condition")) return false;
    void* address = Utl_Tracing::Get_Address(Left);
    const Object_Record* record = address ? Find_Object(address, false) : nullptr;
    if (!record || !(record->class_name == Name)) {
        Utl_Tracing_Print(u"Object not found: " + Left);
        return true;
    }
    if (Name == u"string") {
        Utl_Tracing_Print(*static_cast<const Fnd_String*>(record->object));
    } else if (record->operation) {
        record->operation(record->object, Fnd_String(u"show"), Fnd_String(), Fnd_String());
    }
    return true;
}

bool Show_State(const Fnd_String& Name, const Fnd_String& Option) {
    Fnd_String left(Option);
    Fnd_String right;
    const long colon = Option.Get_Length() > 1 ? Locate_From(u':', Option, 1) : -1;
    if (colon > 0) {
        left = Sub(Option, 0, colon);
        right = Sub(Option, colon + 1, Option.Get_Length());
    }
    Trace_Call(u"show_state ", Name + u" " + Option, false);
    if (Show_Registered_Class(Name, left, right)) return true;
    if (Show_Object(Name, left, right)) return true;
    return Show_Class_Object(Name, left);
}

}  // namespace

// ---- Utl_Trace_Data

Utl_Trace_Data::Utl_Trace_Data(const Utl_Trace_Data& Other)
    : name(Other.name), has_level(Other.has_level), level(Other.level),
      has_first(Other.has_first), first_mask(Other.first_mask), has_second(Other.has_second),
      second_mask(Other.second_mask),
      others(Other.others ? new Utl_String_Array(*Other.others) : nullptr), used(Other.used) {}

Utl_Trace_Data::~Utl_Trace_Data() { delete others; }

void Utl_Trace_Data::Deleter(void* Element) { delete static_cast<Utl_Trace_Data*>(Element); }

void Utl_Trace_Data::Element_Image(Fnd_String& Out, const Fnd_String&, const Utl_Pointer_Array&,
                                   long, void* Element, long, const Code_Unit*) {
    if (!Element) return Out.Append(Utl_Type_Utilities::Null_Word);
    static_cast<const Utl_Trace_Data*>(Element)->Image(Out);
}

void Utl_Trace_Data::Image(Fnd_String& Out) const {
    Utl_Tracing_Utilities::Value(Out, name, 1, 0);
    if (has_level) {
        Out.Append(u" level=");
        Utl_Tracing_Utilities::Value(Out, level, 0);
    }
    if (has_first) {
        Out.Append(u" first=");
        Utl_Tracing_Bits_Image(Out, first_mask, false);
    }
    if (has_second) {
        Out.Append(u" second=");
        Utl_Tracing_Bits_Image(Out, second_mask, false);
    }
    if (others) {
        Out.Append(u" others=(");
        Fnd_String words;
        others->Image(words, 0, 0, 0, nullptr);
        Out.Append(words);
        Out.Append(u")");
    }
}

// ---- Output

void Utl_Tracing_Print(const Fnd_String& Text) {
    // Making the console stream uses a map, which may trace: that inner line is dropped.
    thread_local bool printing = false;
    if (printing) return;
    printing = true;
    get_ztcout() << Text << std::endl;
    printing = false;
}

void Utl_Tracing_Bits_Image(Fnd_String& Out, int32_t Bits, bool Blank) {
    if (Blank) Out.Append(u" ");
    if (Bits == 0) return Out.Append(u"0");
    Out.Append(u"[");
    bool first = true;
    for (long bit = 0; bit <= 30; ++bit) {
        if (!((Bits >> bit) & 1)) continue;
        if (!first) Out.Append(u",");
        first = false;
        Utl_Tracing_Utilities::Value(Out, bit, 0);
    }
    Out.Append(u"]");
}

// ---- Classes and objects

void Utl_Tracing::Register_Class(const Fnd_String& Class, Utl_Trace_Operation Operation) {
    Registry_Guard guard;
    The_Registry().classes[Key(Class)].operation = Operation;
}

void Utl_Tracing::Object_Created(const Fnd_String& Class, void* Object,
                                 Utl_Trace_Operation Operation, const Code_Unit* Name,
                                 int32_t Words, void* Parent) {
    if (Utl_Trace_Objects == -1) return;
    Registry_Guard guard;
    Registry& registry = The_Registry();
    Class_Data& data = registry.classes[Key(Class)];
    if (!data.operation) data.operation = Operation;
    auto record = std::make_unique<Object_Record>();
    record->class_name = Class;
    record->has_name = Name != nullptr;
    if (Name) record->name = Name;
    record->object = Object;
    record->parent = Parent;
    record->operation = Operation;
    record->created = time(nullptr);
    record->sequence = ++registry.sequence;
    record->words = Words;
    const Object_Record& stored = *(data.objects[Object] = std::move(record));
    ++data.objects_seen;
    Count_Records();
    Check_Pending(stored);
    Trace_Call(u"Object_Created ", Class + u" " + Address_Text(Object), true);
}

void Utl_Tracing::Object_Reused(const Fnd_String& Class, void* Object, const Code_Unit* Name) {
    Registry_Guard guard;
    Registry& registry = The_Registry();
    const auto data = registry.classes.find(Key(Class));
    if (data == registry.classes.end()) return;
    const auto found = data->second.objects.find(Object);
    if (found == data->second.objects.end()) return;
    Object_Record& record = *found->second;
    if (record.freed) --data->second.freed;
    record.freed = false;
    record.has_name = Name != nullptr;
    record.name = Name ? Fnd_String(Name) : Fnd_String();
    Check_Pending(record);
    Trace_Call(u"Object_Reused ", Class + u" " + Address_Text(Object), true);
}

void Utl_Tracing::Object_Named(const Fnd_String& Class, void* Object, const Code_Unit* Name,
                               void* Parent) {
    Registry& registry = The_Registry();
    const auto data = registry.classes.find(Key(Class));
    if (data == registry.classes.end()) return;
    const auto found = data->second.objects.find(Object);
    if (found == data->second.objects.end()) return;
    found->second->has_name = Name != nullptr;
    found->second->name = Name ? Fnd_String(Name) : Fnd_String();
    if (Parent) found->second->parent = Parent;
    Trace_Call(u"Object_Named ", Class + u" " + Address_Text(Object), true);
}

void Utl_Tracing::Object_Deleted(const Fnd_String& Class, void* Object) {
    Registry_Guard guard;
    Registry& registry = The_Registry();
    const auto data = registry.classes.find(Key(Class));
    if (data == registry.classes.end()) return;
    const auto found = data->second.objects.find(Object);
    if (found == data->second.objects.end()) return;
    if (found->second->freed) --data->second.freed;
    data->second.objects.erase(found);
    Count_Records();
    Trace_Call(u"Object_Deleted ", Class + u" " + Address_Text(Object), true);
}

void Utl_Tracing::Object_Freed(const Fnd_String& Class, void* Object) {
    Registry& registry = The_Registry();
    const auto data = registry.classes.find(Key(Class));
    if (data == registry.classes.end()) return;
    const auto found = data->second.objects.find(Object);
    if (found == data->second.objects.end() || found->second->freed) return;
    found->second->freed = true;
    ++data->second.freed;
    Trace_Call(u"Object_Freed ", Class + u" " + Address_Text(Object), true);
}

void Utl_Tracing::Set_Info(void* Object, const Code_Unit* Name, void* Parent) {
    auto* record = const_cast<Object_Record*>(Find_Object(Object, false));
    if (!record) return;
    if (Name) {
        record->name = Name;
        record->has_name = true;
    }
    if (Parent) record->parent = Parent;
    Trace_Call(u" Set_Info ", Address_Text(Object), true);
}

void Utl_Tracing::Register_Object(const Fnd_String& Class, const Code_Unit* Name, void* Object,
                                  Utl_Trace_Operation Operation, int32_t Words, void* Parent) {
    if (!Name) return;
    Registry_Guard guard;
    auto record = std::make_unique<Object_Record>();
    record->class_name = Class;
    record->name = Name;
    record->has_name = true;
    record->object = Object;
    record->parent = Parent;
    record->operation = Operation;
    record->created = time(nullptr);
    record->sequence = ++The_Registry().sequence;
    record->words = Words;
    auto& slot = The_Registry().objects[Key(Fnd_String(Name))];
    slot = std::move(record);
    const Object_Record& stored = *slot;
    Count_Records();
    Check_Pending(stored);
    Trace_Call(u"Register_Object ", Fnd_String(Name), false);
}

void Utl_Tracing::Unregister_Object(const Fnd_String& Name) {
    The_Registry().objects.erase(Key(Name));
    Count_Records();
    Trace_Call(u"Unregister_Object ", Name, false);
}

void Utl_Tracing::Object_Reset_Words(long Start) {
    std::vector<const Object_Record*> records;
    for (const auto& [name, record] : The_Registry().objects) records.push_back(record.get());
    for (const Object_Record* record : records) {
        if (!record->operation) continue;
        for (long bit = Start; bit < Start + Utl_Trace_Kind_Bits; ++bit)
            if ((record->words >> bit) & 1) Set_Word(*record, bit, 0);
    }
}

bool Utl_Tracing::Get_Object(const Fnd_String& Name, void*& Object, Fnd_String& Class) {
    const auto& objects = The_Registry().objects;
    const auto found = objects.find(Key(Name));
    if (found == objects.end()) return false;
    Object = found->second->object;
    Class = found->second->class_name;
    return true;
}

bool Utl_Tracing::Read_Number(const Fnd_String& Text, long& Value) {
    if (Text.Is_Empty()) return false;
    Const_Fnd_String_Iterator from(&Text, 0);
    Const_Fnd_String_Iterator end(&Text, 0);
    Value = Fnd_String_Library::To_Long(from, &end, 0);
    return end.Position == Text.Get_Length();
}

void* Utl_Tracing::Get_Address(const Fnd_String& Text) {
    void* address = nullptr;
    return Utl_String_Utilities::Get_Address(Text, address) ? address : nullptr;
}

void Utl_Tracing::Add_Client(Utl_Trace_Client Check, Utl_Show_Function Show) {
    if (Check) The_Registry().clients.push_back(Check);
    if (Show) The_Registry().show_functions.push_back(Show);
}

void Utl_Tracing::Check_Trace_Clients(long Kind, Utl_Pointer_Array& Values) {
    const std::vector<Utl_Trace_Client> clients = The_Registry().clients;
    for (Utl_Trace_Client client : clients) client(Kind, Values);
}

void Utl_Tracing::Command_Loop(void* Evaluator) {
    if (command_loop) command_loop(Evaluator);
}

// ---- Commands on objects

void Utl_Tracing::Object_Operation(const Fnd_String& Target, const Fnd_String& Command,
                                   const Fnd_String& First, const Fnd_String& Second) {
    Registry_Guard guard;
    Trace_Call(u"Object_Operation ", Target + u" " + Command + u" " + First + u" " + Second,
               false);
    Registry& registry = The_Registry();
    if (!registry.classes.empty() && !First.Is_Empty() && Command == u"remove") {
        const std::vector<std::u16string> classes = Domain_Matches(Target, true);
        for (const std::u16string& key : classes) {
            auto& objects = registry.classes[key].objects;
            if (void* address = Get_Address(First)) {
                objects.erase(address);
                continue;
            }
            Utl_Name_Matcher matcher(First, 1, 1, 1);
            for (auto it = objects.begin(); it != objects.end();)
                it = it->second->has_name && matcher.Match(it->second->name) ? objects.erase(it)
                                                                              : std::next(it);
        }
        Count_Records();
        if (!classes.empty()) return;
    }
    const Object_Record* record = nullptr;
    if (void* address = Get_Address(Target)) {
        record = Find_Object(address, true);
        if (!record) return;
    } else if (registry.objects.empty()) {
        if (registry.classes.find(Key(Target)) == registry.classes.end()) {
            Utl_Tracing_Print(u"Object not found: " + Target);
            return;
        }
    } else {
        std::vector<const Code_Unit*> names;
        std::vector<const Object_Record*> records;
        for (const auto& [name, candidate] : registry.objects) {
            names.push_back(name.c_str());
            records.push_back(candidate.get());
        }
        names.push_back(nullptr);
        long index = -1;
        if (Utl_String_Utilities::Check_Wild(index, Target, static_cast<long>(records.size()) - 1,
                                             names.data(), 1, nullptr, u"object_name", 0, 0,
                                             nullptr, 0) == 1)
            record = records[static_cast<size_t>(index)];
    }
    if (record) {
        if (record->operation) record->operation(record->object, Command, First, Second);
        return;
    }
    const auto data = registry.classes.find(Key(Target));
    if (data != registry.classes.end() && data->second.operation)
        data->second.operation(nullptr, Command, First, Second);
    else if (data == registry.classes.end())
        Utl_Tracing_Print(u"Object not found: " + Target);
}

void Utl_Tracing::Show_Command(const Fnd_String& Target, const Fnd_String& First,
                               const Fnd_String& Second, const Fnd_String& Third) {
    Registry_Guard guard;
    Trace_Call(u"Show_Command ", Target + u" " + First + u" " + Second, false);
    Fnd_String option(First);
    if (!Second.Is_Empty()) option.Append(u":" + Second);
    Fnd_String name(Target);
    const long colon = Target.Get_Length() > 1 ? Locate_From(u':', Target, 1) : -1;
    if (option.Is_Empty() && colon > 0) {
        name = Sub(Target, 0, colon);
        option = Sub(Target, colon + 1, Target.Get_Length());
    }
    const std::vector<Utl_Show_Function> functions = The_Registry().show_functions;
    for (Utl_Show_Function show : functions)
        if (show(name, option, Third)) return;
    if (!Show_State(name, option)) Utl_Tracing_Print(u"Unknown show command: " + name);
}

// ---- The value language

long Utl_Tracing::Check_Option_Kind(Fnd_String& Text) {
    if (Text.Get_Length() < 6) return 0;
    auto separator = [&](long At) { return Text[At] == u' ' || Text[At] == u':'; };
    if (Text.Get(0, 4) == u"show" && separator(4)) {
        Text.Delete(0, 5);
        return Utl_Trace_Kind_Show;
    }
    if (Text.Get_Length() >= 7 && Text.Get(0, 5) == u"break" && separator(5)) {
        Text.Delete(0, 6);
        return Utl_Trace_Kind_Break;
    }
    return 0;
}

namespace {

// The element of a word with a ":" in it. False when the setting is a malformed number.
bool Dissect_Setting(const Fnd_String& Word, long Colon, Utl_Pointer_Array& Values) {
    Fnd_String name = Sub(Word, 0, Colon);
    Replace_All(name, u'+', u'|');
    const Fnd_String setting = Sub(Word, Colon + 1, Word.Get_Length());
    if (setting.Is_Empty()) return true;
    auto element = std::make_unique<Utl_Trace_Data>();
    element->name = name;
    if (Starts_With_Digit(setting)) {
        if (!Utl_Tracing::Read_Number(setting, element->level)) return false;
        element->has_level = true;
        Values.Add(element.release());
        return true;
    }
    element->others = new Utl_String_Array(10, 0);
    long start = 0;
    for (long i = 0; i <= setting.Get_Length(); ++i) {
        if (i < setting.Get_Length() && setting[i] != u'+' && setting[i] != u'|') continue;
        const Fnd_String token = Sub(setting, start, i);
        start = i + 1;
        if (token.Is_Empty()) continue;
        Utl_Long_Array found(10);
        Matches(token, Utl_Opnames, 31, found);
        for (long m = 0; m < found.Get_Count(); ++m) {
            element->first_mask |= static_cast<int32_t>(1u << found[m]);
            element->has_first = true;
        }
        found.Make_Empty();
        Matches(token, Utl_Opname2s, 16, found);
        for (long m = 0; m < found.Get_Count(); ++m) {
            element->second_mask |= static_cast<int32_t>(1u << found[m]);
            element->has_second = true;
        }
        element->others->Add(token);
    }
    Values.Add(element.release());
    return true;
}

void Add_Level(Utl_Pointer_Array& Values, const Fnd_String& Name, long Level) {
    auto* element = new Utl_Trace_Data;
    element->name = Name;
    element->has_level = true;
    element->level = Level;
    Values.Add(element);
}

void Dissect_Word(const Fnd_String& Word, Utl_Pointer_Array& Values) {
    if (Word == Utl_Type_Utilities::Off) return Add_Level(Values, Fnd_String(), 0);
    if (Word == Utl_Type_Utilities::All) return Add_Level(Values, Fnd_String(), 1);
    if (Word == Utl_Type_Utilities::Verbose) return Add_Level(Values, Fnd_String(), 2);
    Fnd_String name(Word);
    Replace_All(name, u'+', u'|');
    Add_Level(Values, name, Utl_Trace_Data::Default_Level);
}

}  // namespace

bool Utl_Tracing::Dissect_Value(const Fnd_String& Text, Utl_Pointer_Array& Values) {
    Registry_Guard guard;
    Values.Set_Deleter(Utl_Trace_Data::Deleter);
    Values.Set_Image_Function(Utl_Trace_Data::Element_Image);
    Trace_Call(u"Dissect_Value \"", Text + u"\"", false);
    const Utl_String_Array split(Text, 50, 0);
    std::vector<Fnd_String> words;
    for (long i = 0; i < split.Get_Count(); ++i)
        if (split[i]) words.push_back(*split[i]);
    bool good = true;
    for (size_t w = 0; w < words.size() && good; ++w) {
        Fnd_String word = words[w];
        if (word.Is_Empty()) continue;
        const long semicolon = Locate_From(u';', word, 1);
        if (semicolon > 0) {
            words.insert(words.begin() + static_cast<long>(w) + 1,
                         Sub(word, semicolon + 1, word.Get_Length()));
            word = Sub(word, 0, semicolon);
        }
        const long colon = Locate_From(u':', word, 0);
        if (colon >= 0) {
            good = Dissect_Setting(word, colon, Values);
            continue;
        }
        if (Starts_With_Digit(word) && !Is_Address(word)) {
            const long plus = Locate_From(u'+', word, 1);
            const Fnd_String number = plus > 0 ? Sub(word, 0, plus) : word;
            long level = 0;
            good = Read_Number(number, level);
            if (!good) break;
            Add_Level(Values, Fnd_String(), level);
            if (plus < 0) continue;
            word = Sub(word, plus + 1, word.Get_Length());
            if (word.Is_Empty()) continue;
        }
        Dissect_Word(word, Values);
    }
    if (good) return true;
    Values.Make_Empty();
    Utl_Tracing_Print(u"Invalid trace value: " + Text);
    return false;
}

void Utl_Tracing::Check_Arguments(Utl_Pointer_Array& Values, Utl_Trace_Option_Kind Kind,
                                  const Utl_Tracing_Tables& Tables) {
    Registry_Guard guard;
    Trace_Call(u"Check_Arguments ", Number_Text(Kind), false);
    if (Kind < Utl_Trace_Kind_Trace || Kind > Utl_Trace_Kind_Break) return;
    auto element_at = [&](long I) { return static_cast<Utl_Trace_Data*>(Values[I]); };
    bool any_level = false, any_masks = false, any_others = false;
    for (long i = 0; i < Values.Get_Count(); ++i) {
        Utl_Trace_Data& element = *element_at(i);
        if (element.name.Is_Empty()) {
            element.used = true;
            if (Tables.set_all_levels) Tables.set_all_levels(element.level);
            continue;
        }
        any_level |= element.has_level;
        any_masks |= element.has_first || element.has_second;
        any_others |= element.others != nullptr;
    }

    const auto trace_names = Row_Names(Tables.names, Tables.trace_rows, Tables.trace_count);
    const long trace_rows = static_cast<long>(trace_names.size()) - 1;
    if (any_level && trace_rows > 0) {
        for (long i = 0; i < Values.Get_Count(); ++i) {
            Utl_Trace_Data& element = *element_at(i);
            if (!element.has_level || element.name.Is_Empty()) continue;
            Utl_Long_Array found(10);
            Matches(element.name, trace_names.data(), trace_rows, found);
            if (found.Get_Count() > 0) element.used = true;
            if (Has(element.name, u'%')) {
                List_Matches(found, trace_names);
                continue;
            }
            for (long m = 0; m < found.Get_Count(); ++m) {
                const auto& row = Tables.trace_rows[found[m]];
                if (row.set_level)
                    row.set_level(element.level == Utl_Trace_Data::Default_Level ? row.default_level
                                                                                 : element.level);
            }
        }
    }

    const auto specific_names =
        Row_Names(Tables.names, Tables.specific_rows, Tables.specific_count);
    const long specific_rows = static_cast<long>(specific_names.size()) - 1;
    if (any_masks && specific_rows > 0) {
        for (long i = 0; i < Values.Get_Count(); ++i) {
            Utl_Trace_Data& element = *element_at(i);
            if (!(element.has_first || element.has_second) || Has(element.name, u'%') ||
                Lone_Wild_Other(element))
                continue;
            Utl_Long_Array found(10);
            Matches(element.name, specific_names.data(), specific_rows, found);
            if (found.Get_Count() > 0) element.used = true;
            for (long m = 0; m < found.Get_Count(); ++m) {
                const auto& row = Tables.specific_rows[found[m]];
                if (element.has_first && row.set_first) row.set_first(element.first_mask);
                if (element.has_second && row.set_second) row.set_second(element.second_mask);
            }
        }
    }

    const auto other_names = Row_Names(Tables.names, Tables.other_rows, Tables.other_count);
    const long other_rows = static_cast<long>(other_names.size()) - 1;
    if (any_others && other_rows > 0) {
        for (long i = 0; i < Values.Get_Count(); ++i) {
            Utl_Trace_Data& element = *element_at(i);
            if (!element.others) continue;
            Utl_Long_Array found(10);
            Matches(element.name, other_names.data(), other_rows, found);
            for (long m = 0; m < found.Get_Count(); ++m) {
                const auto& row = Tables.other_rows[found[m]];
                const Code_Unit* label = other_names[static_cast<size_t>(found[m])];
                int32_t mask = 0;
                if (Set_Other_Word(mask, row.first_words, element, label) && row.set_first)
                    row.set_first(mask);
                if (Set_Other_Word(mask, row.second_words, element, label) && row.set_second)
                    row.set_second(mask);
                element.used = true;
            }
        }
    }

    const auto string_names = Client_Names(Tables.string_rows, Tables.string_count);
    if (any_others && Tables.string_count > 0) {
        for (long i = 0; i < Values.Get_Count(); ++i) {
            const Utl_Trace_Data& element = *element_at(i);
            if (!element.others || Has(element.name, u'%')) continue;
            Utl_Long_Array found(10);
            Matches(element.name, string_names.data(), Tables.string_count, found);
            for (long m = 0; m < found.Get_Count(); ++m)
                for (long w = 0; w < element.others->Get_Count(); ++w)
                    if ((*element.others)[w])
                        Tables.string_rows[found[m]].function(*(*element.others)[w]);
        }
    }

    const auto long_names = Client_Names(Tables.long_rows, Tables.long_count);
    if (any_level && Tables.long_count > 0) {
        for (long i = 0; i < Values.Get_Count(); ++i) {
            const Utl_Trace_Data& element = *element_at(i);
            if (!element.has_level || element.name.Is_Empty() || Has(element.name, u'%'))
                continue;
            Utl_Long_Array found(10);
            Matches(element.name, long_names.data(), Tables.long_count, found);
            for (long m = 0; m < found.Get_Count(); ++m)
                Tables.long_rows[found[m]].function(element.level);
        }
    }

    Kind_State& state = The_Registry().kinds[Kind];
    if (!state.saved) {
        state.saved = true;
        state.names = Tables.names;
        for (long i = 0; i < trace_rows; ++i) state.trace_rows.push_back(Tables.trace_rows[i]);
        for (long i = 0; i < other_rows; ++i)
            state.other_words[std::u16string(other_names[static_cast<size_t>(i)])] = {
                Tables.other_rows[i].first_words, Tables.other_rows[i].second_words};
    }
    if (!Tables.update_objects) return;

    const long base = Kind * Utl_Trace_Kind_Bits;
    for (long i = 0; i < Values.Get_Count(); ++i) {
        const Utl_Trace_Data& element = *element_at(i);
        // A nameless element ("all", "off", a bare level) is marked used by the host's
        // set_all_levels above, and still reaches every object.
        const bool taken = element.used && !element.name.Is_Empty() &&
                           !Utl_String_Utilities::Is_Wild_Command(element.name);
        if (taken || Has(element.name, u'%')) continue;
        if (element.name.Is_Empty()) {
            Set_All(Kind, element.level);
        } else if (void* address = Get_Address(element.name)) {
            if (const Object_Record* record = Find_Object(address, false))
                if (record->operation && record->words) Check_Words(*record, base, element, state);
        } else {
            std::vector<const Object_Record*> records;
            for (const auto& [name, record] : The_Registry().objects)
                if (Name_Matches(record->name, element)) records.push_back(record.get());
            for (const Object_Record* record : records)
                if (record->operation && record->words) Check_Words(*record, base, element, state);
        }
        state.pending.push_back(std::make_unique<Utl_Trace_Data>(element));
    }
    state.built = true;
}

// ---- The command loop

void Utl_Tracing::Run_Commands(const Utl_Command_Source& Next_Line) {
    Registry_Guard guard;
    Fnd_String line;
    while (Next_Line(line)) {
        const Utl_String_Array words(line, 10, 0);
        if (words.Get_Count() == 0 || !words[0] || *words[0] == u"continue") return;
        auto word = [&](long I) {
            return I < words.Get_Count() && words[I] ? *words[I] : Fnd_String();
        };
        const Fnd_String command = word(0);
        if (command == u"info") {
            Fnd_String image;
            Image(image, word(1) == Utl_Type_Utilities::Verbose);
            Utl_Tracing_Print(image);
        } else if (command == u"show") {
            Show_Command(word(1), word(2), word(3), word(4));
        } else if (command == u"set") {
            Object_Operation(word(1), command, word(2), word(3));
        } else if (command == u"clear") {
            Object_Operation(word(1), command, word(2), Fnd_String());
        } else {
            Utl_Tracing_Print(u"Unknown command: " + command + u" (info, show, set, clear)");
        }
    }
}

void Utl_Tracing::Console_Command_Loop(void*) {
    Run_Commands([](Fnd_String& Line) { return Tio_In.Get_Line(Line) != 0; });
}

void Utl_Tracing::Image(Fnd_String& Out, bool Verbose) {
    Registry& registry = The_Registry();
    for (const auto& [name, data] : registry.classes) {
        if (!Out.Is_Empty()) Out.Append(u"\n");
        Out.Append(Text(name));
        Out.Append(u" objects_seen: ");
        Utl_Tracing_Utilities::Value(Out, data.objects_seen, 0);
        if (data.objects_seen > 0) {
            Out.Append(u", current: ");
            Utl_Tracing_Utilities::Value(Out, static_cast<long>(data.objects.size()), 0);
            Out.Append(u", freed: ");
            Utl_Tracing_Utilities::Value(Out, data.freed, 0);
        }
        if (Verbose)
            Utl_Tracing_Utilities::Value(Out, reinterpret_cast<const void*>(data.operation), 1);
    }
    long width = 0;
    for (const auto& [name, record] : registry.objects)
        width = std::max(width, static_cast<long>(name.size()) + 1);
    for (const auto& [name, record] : registry.objects) {
        if (!Out.Is_Empty()) Out.Append(u"\n");
        Utl_Tracing_Utilities::Aligned_Value(Out, Text(name), width, false, false, false);
        Utl_Tracing_Utilities::Value(Out, record->object, 0);
        Out.Append(u" parent: ");
        Utl_Tracing_Utilities::Value(Out, record->parent, 0);
        if (!Verbose) continue;
        Out.Append(u" ");
        Out.Append(Hst_Timestamp(static_cast<int64_t>(record->created))
                       .Image(No_Date, Military_Time, 1));
        Utl_Tracing_Utilities::Value(Out, reinterpret_cast<const void*>(record->operation), 1);
        Utl_Tracing_Bits_Image(Out, record->words, true);
    }
}

void Utl_Tracing::Reset() {
    Registry& registry = The_Registry();
    registry.classes.clear();
    registry.objects.clear();
    registry.clients.clear();
    registry.show_functions.clear();
    for (Kind_State& kind : registry.kinds) kind = Kind_State();
    trace = other_trace = 0;
    Utl_Trace_Objects = 0;
    Utl_Trace_Records = 0;
    command_loop = nullptr;
}
