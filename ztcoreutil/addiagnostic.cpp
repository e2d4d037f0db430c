// The diagnostics engine: its state, the checks, the evaluation of the environment and
// the control operations. Output lives in addiagnostic_output.cpp, the grammar and the
// formatters in addiagnostic_text.cpp.
#include "ztcoreutil/addiagnostic.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_timestamp.h"
#include "foundation/mfc/ccollections.h"
#include "foundation/mfc/cmap.h"
#include "ztcoreutil/addiagnostic_internal.h"

namespace {

constexpr std::array<long, AdDiagnostic::Flag_Count> Unevaluated_Flags() {
    std::array<long, AdDiagnostic::Flag_Count> flags{};
    flags.fill(-1);
    return flags;
}

using Engine_Texts = Ad_Engine_Texts;
Engine_Texts& Texts() { return Ad_Texts(); }

// One table with its variable and the texts around it.
struct Table_Binding {
    const AdDiagnosticTuple* Rows;
    const Code_Unit* Variable;
    Fnd_String Engine_Texts::*Text;
    Fnd_String Engine_Texts::*Left;
    Fnd_String Engine_Texts::*Right;
};

const Table_Binding& Binding(int Index) {
    static const Table_Binding bindings[3] = {
        {AdDiagnostic::m_TraceTuples, AdDiagnostic::m_TraceEnvVar, &Engine_Texts::Trace,
         &Engine_Texts::Trace_Left, &Engine_Texts::Trace_Right},
        {AdDiagnostic::m_ReportTuples, AdDiagnostic::m_ReportEnvVar, &Engine_Texts::Report,
         &Engine_Texts::Report_Left, &Engine_Texts::Report_Right},
        {AdDiagnostic::m_BehaviorTuples, AdDiagnostic::m_BehaviorEnvVar, &Engine_Texts::Behavior,
         &Engine_Texts::Behavior_Left, &Engine_Texts::Behavior_Right},
    };
    return bindings[Index];
}

// The engine's variables have ASCII names. Most processes set none of them, so an unset
// one is found out with the plain bytes of its name, before any conversion.
bool Is_Unset(const Code_Unit* Name) {
    char bytes[32];
    std::size_t length = 0;
    for (; Name[length] != 0; ++length) {
        if (length + 1 == sizeof bytes || Name[length] >= 0x80) return false;
        bytes[length] = static_cast<char>(Name[length]);
    }
    bytes[length] = '\0';
    return std::getenv(bytes) == nullptr;
}

Fnd_String Environment(const Code_Unit* Name) {
    Fnd_String value;
    if (Is_Unset(Name) || !Fnd_String_Library::Get_Environment(Fnd_String(Name), value))
        value.Make_Empty();
    return value;
}

// a;b where an empty part and its ";" drop out.
Fnd_String Join_Flags(const Fnd_String& A, const Fnd_String& B) {
    if (A.Is_Empty()) return B;
    if (B.Is_Empty()) return A;
    return AdDiagnostic::Join(A, Fnd_String(u";"), B);
}

bool Is_Valid(long Id) { return Id >= 0 && Id <= AdDiagnostic::Last_Id; }
long Kind_Of(long Id) { return Ad_Kind_Of(Id); }
long Check_Of(long Id) { return Id < AdDiagnostic::Kind_Count ? AdDiagnostic::DiagnosticCheck[Id] : 0; }
bool Is_String_Kind(long Kind) { return Kind == AdKind_String || Kind == AdKind_Named_String; }

const Fnd_String* String_Of(long Element) {
    if (Element == 0 || Element == -1) return nullptr;
    return reinterpret_cast<const Fnd_String*>(Element);
}
long New_String_Element(const Fnd_String& Text) {
    return reinterpret_cast<long>(new Fnd_String(Text));
}
void Delete_String_Element(long& Element) {
    delete String_Of(Element);
    Element = -1;
}

// The value of a number: unsigned conversion with base 0, held as 32 bits.
long Number_Value(const Fnd_String& Value) {
    std::string bytes = Ad_UTF8(Value);
    const unsigned long raw = std::strtoul(bytes.c_str(), nullptr, 0);
    return static_cast<int32_t>(static_cast<uint32_t>(raw));
}

long Letters_Value(const Fnd_String& Value) {
    uint32_t bits = 0;
    for (long i = 0; i < Value.Get_Length(); ++i) {
        Code_Unit unit = Value[i];
        if (unit >= u'a' && unit <= u'z') unit = static_cast<Code_Unit>(unit - u'a' + u'A');
        const int bit = ((static_cast<int>(unit) - 'A') % 32 + 32) % 32;
        bits |= uint32_t{1} << bit;
    }
    return static_cast<int32_t>(bits);
}

long Element_For(long Kind, const Fnd_String& Value) {
    switch (Kind) {
    case AdKind_Boolean:
        if (Value.Is_Empty() || Value.Find(u"TRUE") >= 0) return 1;
        return Number_Value(Value) != 0;
    case AdKind_Number: {
        if (Value.Is_Empty()) return 1;
        const long number = Number_Value(Value);
        return number < -1 ? 0 : number;
    }
    case AdKind_Letters:
        return Value.Is_Empty() ? -1 : Letters_Value(Value);
    case AdKind_String:
        return New_String_Element(Value.Is_Empty() ? Fnd_String(u"*") : Value);
    case AdKind_Named_String: {
        if (!Value.Is_Empty()) return New_String_Element(Value);
        Fnd_String name;
        (void)AdDiagnostic::GetDiagnosticName(name);
        return New_String_Element(name.Is_Empty() ? Fnd_String(u"*") : name);
    }
    default:
        return 0;
    }
}

const AdDiagnosticTuple* Find_Row(const AdDiagnosticTuple* Rows, const Fnd_String& Name) {
    for (; Rows->name != nullptr; ++Rows)
        if (Name == Rows->name) return Rows;
    return nullptr;
}

// Frees the strings a previous evaluation left in the flags.
void Release_Strings() {
    for (long id = 0; id < AdDiagnostic::Kind_Count; ++id)
        if (Is_String_Kind(AdDiagnostic::DiagnosticKinds[id]))
            Delete_String_Element(AdDiagnostic::m_DiagnosticFlags[id]);
}

void Evaluate_Table(const Table_Binding& Table) {
    Engine_Texts& texts = Texts();
    for (const AdDiagnosticTuple* row = Table.Rows; row->name; ++row) {
        AdDiagnostic::DiagnosticKinds[row->id] = row->kind;
        AdDiagnostic::DiagnosticCheck[row->id] = row->check;
    }
    texts.*Table.Text = Environment(Table.Variable);
    const Fnd_String setting =
        Join_Flags(Join_Flags(texts.*Table.Left, texts.*Table.Text), texts.*Table.Right);
    if (setting.Is_Empty()) return;
    CMapStringToString pairs;
    long message_id = 0;
    Fnd_String context;
    if (!AdDiagnosticParseNameValueString(setting.Data(), pairs, message_id, context, true, true)) {
        const Fnd_String label =
            AdDiagnostic::Join(u"An error occured during parsing of environment variable ",
                               Table.Variable);
        AdDiagnostic::Report(label.Data(), context.Data());
        return;
    }
    for (POSITION at = pairs.GetStartPosition(); at;) {
        Fnd_String name, value;
        pairs.GetNextAssoc(at, name, value);
        const AdDiagnosticTuple* row = Find_Row(Table.Rows, name);
        if (row == nullptr) {
            AdDiagnostic::Report(u"Unrecognized diagnostic id", name.Data());
            continue;
        }
        long& element = AdDiagnostic::m_DiagnosticFlags[row->id];
        if (Is_String_Kind(row->kind)) delete String_Of(element);
        element = Element_For(row->kind, value);
    }
}

AdDiagnostic::Clock_Function Clock = nullptr;
bool Runtime_Reset_Was_On = false;

}  // namespace

Ad_Engine_Texts& Ad_Texts() {
    static Ad_Engine_Texts texts;
    return texts;
}

long Ad_Kind_Of(long Id) {
    return Id >= 0 && Id < AdDiagnostic::Kind_Count ? AdDiagnostic::DiagnosticKinds[Id] : 0;
}

// ---- State
constinit std::array<long, AdDiagnostic::Flag_Count> AdDiagnostic::m_DiagnosticFlags =
    Unevaluated_Flags();
long* const AdDiagnostic::DiagnosticFlagsPtr = AdDiagnostic::m_DiagnosticFlags.data();
constinit std::array<long, AdDiagnostic::Kind_Count> AdDiagnostic::DiagnosticKinds{};
constinit std::array<long, AdDiagnostic::Kind_Count> AdDiagnostic::DiagnosticCheck{};
constinit long AdDiagnostic::m_bFlagsInitialized = 0;
constinit std::FILE* AdDiagnostic::m_FileHandle = nullptr;
constinit AdDestinationKind AdDiagnostic::m_DestinationKind = AdDest_TBD;
constinit int AdDiagnostic::m_DestinationFile = -1;
constinit long AdDiagnostic::m_nDiagnosticsReported = 0;
Fnd_Recursive_Semaphore* AdDiagnosticLock::m_mutex = nullptr;

const Code_Unit AdDiagnostic::m_strPrefixHead[] = u"[ZT";
const Code_Unit AdDiagnostic::m_strPrefixTail[] = u"] ";
const Code_Unit AdDiagnostic::m_strRegistryPath[] =
    u"Software\\Morvane Software\\Zentrak\\Diagnostic";
const Code_Unit AdDiagnostic::m_TraceEnvVar[] = u"ZT_DIAG_TRACE";
const Code_Unit AdDiagnostic::m_ReportEnvVar[] = u"ZT_DIAG_REPORT";
const Code_Unit AdDiagnostic::m_BehaviorEnvVar[] = u"ZT_DIAG_BEHAVIOR";
const Code_Unit AdDiagnostic::m_DiagNameEnvVar[] = u"ZT_DIAG_NAME";
const Code_Unit AdDiagnostic::m_OutputEnvVar[] = u"ZT_DIAG_OUTPUT";
const Code_Unit AdDiagnostic::m_ResetEnvVar[] = u"ZT_DIAG_RESET";

AdDiagnosticLock::AdDiagnosticLock() {
    Fnd_Semaphore::Static_Initialization_Lock();
    if (m_mutex == nullptr) m_mutex = new Fnd_Recursive_Semaphore(0);
    Fnd_Semaphore::Static_Initialization_Unlock();
    m_mutex->Wait();
}
AdDiagnosticLock::~AdDiagnosticLock() { m_mutex->Signal(); }

void AdDiagnostic::Set_Clock(Clock_Function Function) {
    AdDiagnosticLock lock;
    Clock = Function;
    Ad_Clock_Started = false;
}

void Ad_Read_Clock(long& Seconds, long& Milliseconds) {
    if (Clock)
        Clock(Seconds, Milliseconds);
    else
        Hst_Timestamp::Get_Current_Millisecond_Time(Seconds, Milliseconds);
}

// ---- Evaluation
void AdDiagnostic::CheckDiagnosticFlags(long Show) {
    if (m_bFlagsInitialized != 0) return;
    AdDiagnosticLock lock;
    (void)Texts();
    if (m_bFlagsInitialized == 0) SetDiagnosticFlags(Show);
}

void AdDiagnostic::SetDiagnosticFlags(long Show) {
    AdDiagnosticLock lock;
    Release_Strings();
    m_DiagnosticFlags.fill(0);
    m_bFlagsInitialized = -1;
    for (int table = 0; table < 3; ++table) Evaluate_Table(Binding(table));
    if (m_DiagnosticFlags[AdDiag_OUTPUT_LIMIT] == 1) m_DiagnosticFlags[AdDiag_OUTPUT_LIMIT] = 10000;
    if (m_DestinationKind == AdDest_TBD) Decide_Destination();
    m_bFlagsInitialized = 1;
    if (Show && m_DestinationKind != AdDest_Nil)
        ShowDiagnosticFlags(m_DiagnosticFlags[AdDiag_DIAG_FLAGS] | 16, false);
}

void AdDiagnostic::Decide_Destination() {
    Engine_Texts& texts = Texts();
    Fnd_String output = texts.Output.Is_Empty() ? Environment(m_OutputEnvVar) : texts.Output;
    Fnd_String word = output;
    word.MakeLower();
    static const struct {
        const Code_Unit* Word;
        AdDestinationKind Kind;
    } keywords[] = {{u"ods", AdDest_Out},       {u"out", AdDest_Out},
                    {u"cout", AdDest_Cout},     {u"err", AdDest_Err},
                    {u"cerr", AdDest_Cerr},     {u"tio_out", AdDest_Tio_Out},
                    {u"tio_err", AdDest_Tio_Err}, {u"tio_log", AdDest_Tio_Log}};
    if (output.Is_Empty()) {
        m_DestinationKind = AdDest_Nil;
        return;
    }
    for (const auto& keyword : keywords) {
        if (word == keyword.Word) {
            m_DestinationKind = keyword.Kind;
            if (keyword.Kind == AdDest_Out) m_DestinationFile = 1;
            if (keyword.Kind == AdDest_Err) m_DestinationFile = 2;
            return;
        }
    }
    texts.Aux_File_Root = output;
    m_DestinationKind = OpenAuxiliary() ? AdDest_File : AdDest_Nil;
}

AdDestinationKind AdDiagnostic::GetDestinationKind() {
    if (m_DestinationKind == AdDest_TBD) {
        AdDiagnosticLock lock;
        if (m_DestinationKind == AdDest_TBD) Decide_Destination();
    }
    return m_DestinationKind;
}

void AdDiagnostic::SetDestinationKind(AdDestinationKind Kind) { m_DestinationKind = Kind; }

Fnd_String AdDiagnostic::GetDestinationDesc() {
    static const Code_Unit* const descriptions[] = {u"TBD", u"nil", u"ods", u"out", u"cout",
                                                    u"err", u"cerr", u"",   u"tio_out",
                                                    u"tio_err", u"tio_log"};
    if (m_DestinationKind == AdDest_File) return Texts().Aux_File_Root;
    return Fnd_String(descriptions[m_DestinationKind]);
}

int AdDiagnostic::GetDestinationFile() {
    if (m_DestinationKind == AdDest_File && m_FileHandle) return fileno(m_FileHandle);
    return -1;
}

// ---- Checks
long AdDiagnostic::IsDiagnosticIdValid(long Id) {
    if (!Is_Valid(Id)) return 0;
    CheckDiagnosticFlags(1);
    return Check_Of(Id) == 1 || GetDestinationKind() != AdDest_Nil;
}

namespace {
// The common part of the checks: evaluated, not running, and counting now.
bool Counts(long Id) {
    AdDiagnostic::CheckDiagnosticFlags(1);
    if (AdDiagnostic::m_bFlagsInitialized == -1 || !Is_Valid(Id)) return false;
    return Check_Of(Id) == 1 || AdDiagnostic::GetDestinationKind() != AdDest_Nil;
}
}  // namespace

long AdDiagnostic::IsEnabled(long Id) {
    if (!Counts(Id)) return 0;
    return m_DiagnosticFlags[Id] != 0;
}

long AdDiagnostic::IsEnabled(long Id, long Level, long Is_Mask) {
    if (!Counts(Id)) return 0;
    const long element = m_DiagnosticFlags[Id];
    switch (Kind_Of(Id)) {
    case AdKind_Boolean:
    case AdKind_String:
    case AdKind_Named_String:
        return element != 0;
    case AdKind_Number:
    case AdKind_Letters:
        if (Is_Mask) return (element & Level) != 0;
        return static_cast<int32_t>(element) >= static_cast<int32_t>(Level);
    default:
        return 0;
    }
}

long AdDiagnostic::IsEnabledLetter(long Id, Code_Unit Letter) {
    if (!Counts(Id)) return 0;
    const long element = m_DiagnosticFlags[Id];
    if (Kind_Of(Id) != AdKind_Letters) return Kind_Of(Id) == AdKind_None ? 0 : element != 0;
    if (Letter >= u'a' && Letter <= u'z') Letter = static_cast<Code_Unit>(Letter - u'a' + u'A');
    const int bit = ((static_cast<int>(Letter) - 'A') % 32 + 32) % 32;
    return (static_cast<uint32_t>(element) >> bit) & 1U;
}

long AdDiagnostic::IsEnabled(long Id, const Code_Unit* Name) {
    if (!Is_Valid(Id)) return 0;
    const Fnd_String name(Name ? Name : u"");
    const long element = m_DiagnosticFlags[Id];
    if (!Is_String_Kind(Kind_Of(Id))) return element;
    if (name == u"*") return 1;
    const Fnd_String* stored = String_Of(element);
    if (stored == nullptr || stored->Is_Empty()) return 0;
    if (*stored == u"*") return 1;
    return name.Find(stored->Data()) >= 0;
}

long AdDiagnostic::GetDiagnosticIdLevel(long Id) {
    if (!Counts(Id)) return 0;
    const long element = m_DiagnosticFlags[Id];
    switch (Kind_Of(Id)) {
    case AdKind_Number:
    case AdKind_Letters:
        return element;
    case AdKind_None:
        return 0;
    default:
        return element != 0 && element != -1 ? 1 : 0;
    }
}

Fnd_String AdDiagnostic::GetDiagnosticString(long Id) {
    if (!Is_Valid(Id) || !Is_String_Kind(Kind_Of(Id))) return Fnd_String();
    AdDiagnosticLock lock;
    const Fnd_String* stored = String_Of(m_DiagnosticFlags[Id]);
    return stored ? *stored : Fnd_String();
}

const Fnd_String* AdDiagnostic::Prefix_Text() { return String_Of(m_DiagnosticFlags[AdDiag_PREFIX]); }

// ---- Control
long AdDiagnostic::GetDiagnosticName(Fnd_String& Name) {
    Engine_Texts& texts = Texts();
    if (texts.Diag_Name.Is_Empty()) texts.Diag_Name = Environment(m_DiagNameEnvVar);
    Name = texts.Diag_Name;
    return !Name.Is_Empty();
}

bool AdDiagnostic::IsDiagnosticEnvVar(const Code_Unit* Name) {
    if (Name == nullptr) return false;
    const Fnd_String name(Name);
    for (const Code_Unit* variable : {m_TraceEnvVar, m_ReportEnvVar, m_BehaviorEnvVar,
                                      m_DiagNameEnvVar, m_OutputEnvVar, m_ResetEnvVar})
        if (name == variable) return true;
    return false;
}

Fnd_String AdDiagnostic::GetDiagnosticEnvVar(const Code_Unit* Name, bool) {
    if (Name == nullptr) return Fnd_String();
    return Environment(Name);
}

void AdDiagnostic::SetDiagnosticEnvVar(const Code_Unit* Name, const Code_Unit* Value) {
    if (!IsDiagnosticEnvVar(Name)) return;
    (void)Fnd_String_Library::Set_Environment(Fnd_String(Name), Fnd_String(Value ? Value : u""));
}

void AdDiagnostic::Reset(const Code_Unit* Trace, const Code_Unit* Report,
                         const Code_Unit* Behavior, const Code_Unit* Name,
                         const Code_Unit* Output) {
    AdDiagnosticLock lock;
    SetDiagnosticEnvVar(m_TraceEnvVar, Trace);
    SetDiagnosticEnvVar(m_ReportEnvVar, Report);
    SetDiagnosticEnvVar(m_BehaviorEnvVar, Behavior);
    SetDiagnosticEnvVar(m_DiagNameEnvVar, Name);
    SetDiagnosticEnvVar(m_OutputEnvVar, Output);
    ResetDiagnosticFlags(1);
}

void AdDiagnostic::ResetOneEnvVar(const Code_Unit* Name, const Code_Unit* Value) {
    AdDiagnosticLock lock;
    SetDiagnosticEnvVar(Name, Value);
    ResetDiagnosticFlags(1);
}

namespace {
void Add_Flag(bool Prepend, const Code_Unit* Text, Fnd_String& Left, Fnd_String& Right) {
    if (Text == nullptr || *Text == 0) return;
    if (Prepend)
        Left = Join_Flags(Fnd_String(Text), Left);
    else
        Right = Join_Flags(Right, Fnd_String(Text));
}

void Replace_Flag(bool Replace, bool Prepend, const Code_Unit* Given, Fnd_String& Value) {
    if (Replace)
        Value = Given ? Given : u"";
    else if (Prepend)
        Value = Value.Is_Empty() && Given ? Fnd_String(Given) : Value;
    else if (Given)
        Value = Given;
}
}  // namespace

void AdDiagnostic::AddFlags(bool Replace, bool Prepend, const Added_Flags& Flags) {
    AdDiagnosticLock lock;
    Engine_Texts& texts = Texts();
    const Code_Unit* given[3] = {Flags.Trace, Flags.Report, Flags.Behavior};
    for (int table = 0; table < 3; ++table) {
        const Table_Binding& binding = Binding(table);
        if (Replace) {
            (texts.*binding.Left).Make_Empty();
            (texts.*binding.Right).Make_Empty();
        }
        Add_Flag(Prepend, given[table], texts.*binding.Left, texts.*binding.Right);
    }
    texts.Diag_Name = Environment(m_DiagNameEnvVar);
    texts.Output = Environment(m_OutputEnvVar);
    Replace_Flag(Replace, Prepend, Flags.Name, texts.Diag_Name);
    Replace_Flag(Replace, Prepend, Flags.Output, texts.Output);
    ResetDiagnosticFlags(1);
}

void AdDiagnostic::GetFlags(CStringArray& Out) {
    CheckDiagnosticFlags(1);
    Engine_Texts& texts = Texts();
    Out.SetSize(0);
    Out.Add(GetDestinationDesc());
    Out.Add(texts.Trace);
    Out.Add(texts.Report);
    Out.Add(texts.Behavior);
    Fnd_String name;
    (void)GetDiagnosticName(name);
    Out.Add(name);
}

void AdDiagnostic::SetFlags(const CStringArray& Flags) {
    CStringArray current;
    GetFlags(current);
    for (long i = 0; i < Flags.Get_Count() && i < 5; ++i)
        current.Set(i, Flags[i] ? *Flags[i] : Fnd_String());
    // The array holds output, trace, report, behavior, name.
    const Fnd_String output = *current[0], trace = *current[1], report = *current[2],
                     behavior = *current[3], name = *current[4];
    Reset(trace.Data(), report.Data(), behavior.Data(), name.Data(), output.Data());
}

void AdDiagnostic::ResetTuple(const AdDiagnosticTuple* Rows) {
    for (; Rows->name; ++Rows) {
        long& element = m_DiagnosticFlags[Rows->id];
        if (Is_String_Kind(Rows->kind))
            Delete_String_Element(element);
        else
            element = -1;
    }
}

void AdDiagnostic::ResetDiagnosticFlags(long Show) {
    AdDiagnosticLock lock;
    if (m_bFlagsInitialized == 1 && m_DiagnosticFlags[AdDiag_DIAG_FLAGS] != 0) {
        Report(u"reset diagnostic flags");
        if (m_DiagnosticFlags[AdDiag_OUTPUT_LIMIT] > 0)
            Report(u"ignoring output limit due to reset being enabled");
    }
    ResetTuple(m_BehaviorTuples);
    ResetTuple(m_ReportTuples);
    ResetTuple(m_TraceTuples);
    Engine_Texts& texts = Texts();
    texts.Diag_Name.Make_Empty();
    CloseAuxiliary();
    m_DestinationFile = -1;
    m_DestinationKind = AdDest_TBD;
    texts.Aux_File_Root.Make_Empty();
    texts.Aux_File.Make_Empty();
    m_bFlagsInitialized = 0;
    CheckDiagnosticFlags(Show);
}

Fnd_String AdDiagnostic::GetFlagSettings() {
    Engine_Texts& texts = Texts();
    Fnd_String settings;
    for (int table = 0; table < 3; ++table) {
        const Table_Binding& binding = Binding(table);
        settings.Append(texts.*binding.Text);
        settings.Append(texts.*binding.Left);
        settings.Append(texts.*binding.Right);
    }
    settings.Append(texts.Output);
    return settings;
}

void AdDiagnostic::RuntimeReset() {
    const bool reset_on = !Environment(m_ResetEnvVar).Is_Empty();
    if (!reset_on && !Runtime_Reset_Was_On) return;
    AdDiagnosticLock lock;
    CheckDiagnosticFlags(1);
    Runtime_Reset_Was_On = reset_on;
    if (!reset_on)
        Report(u"RuntimeReset",
               u"disabling runtime reset, doing one more reset to get latest settings");
    if (Environment(m_ReportEnvVar).Is_Empty() && Environment(m_TraceEnvVar).Is_Empty() &&
        Environment(m_OutputEnvVar).Is_Empty())
        Report(u"RuntimeReset", u"diagnostic is being disabled");
    const Fnd_String before = GetFlagSettings();
    ResetDiagnosticFlags(0);
    SetDiagnosticFlags(0);
    if (GetFlagSettings() == before) return;
    Report(u"RuntimeReset", u"new diagnostic setting are in effect");
    if (m_DiagnosticFlags[AdDiag_OUTPUT_LIMIT] > 0)
        Report(u"RuntimeReset", u"ignoring output limit due to reset being enabled");
    ShowDiagnosticFlags(m_DiagnosticFlags[AdDiag_DIAG_FLAGS], false);
}

// ---- Debugger hooks
namespace {
volatile long Debugger_Wait_Value = 0;
volatile long Breakpoint_Kind = 0;
}  // namespace

extern "C" void ZT_Debugger_Wait(long Value) {
    Debugger_Wait_Value = Value;
    while (Debugger_Wait_Value != 0) ::sleep(5);
}

extern "C" void ZT_Breakpoint(long Code) {
    if (Code == 1 || Code == 2 || Code == 10 || Code == 11) {
        Breakpoint_Kind = AdDiagnostic::m_DestinationKind;
        AdDiagnostic::m_DestinationKind = static_cast<AdDestinationKind>(Breakpoint_Kind);
    }
}

void AdDiagnostic::Breakpoint(long Code) { ZT_Breakpoint(Code + 10); }
