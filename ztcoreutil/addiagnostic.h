// The process-wide diagnostics switchboard. Code that may write a diagnostic line asks
// the cheap flag word first and the engine second:
//
//   if (AdDiagnostic::m_DiagnosticFlags[46] && AdDiagnostic::IsEnabled(46, 1, 1))
//       AdDiagnostic::Report(u"Fnd_Message_Catalogs::Open_Catalog", name.Data());
//
// Every element starts at -1 (constant-initialised, so it reads before any static
// constructor has run): the first check therefore reaches IsEnabled, which evaluates
// the configuration once. After that a diagnostic that is off costs one load.
//
// The configuration comes from six environment variables:
//   ZT_DIAG_TRACE, ZT_DIAG_REPORT, ZT_DIAG_BEHAVIOR  name=value lists ("SQL=0x10;PROCESS")
//   ZT_DIAG_NAME    the value of a named-string diagnostic given without a value
//   ZT_DIAG_OUTPUT  out, err, cout, cerr, tio_out, tio_err, tio_log, or a file name
//   ZT_DIAG_RESET   set: RuntimeReset re-reads the environment, files are not rolled over
#pragma once

#include <array>
#include <cstdarg>
#include <cstdio>

#include "foundation/base/fnd_code_unit.h"
#include "foundation/base/fnd_semaphore.h"
#include "foundation/base/fnd_string.h"

class CMapStringToString;
class CStringArray;

// One row of a name table; a null name ends the table.
struct AdDiagnosticTuple {
    const Code_Unit* name;
    long id;
    long kind;   // AdDiagnosticKind
    long check;  // 0: counts only while output is on; 1: counts always
};

// How the value of a diagnostic is held in its flag element.
enum AdDiagnosticKind : long {
    AdKind_None = 0,
    AdKind_Boolean = 1,
    AdKind_Number = 2,
    AdKind_Letters = 3,
    AdKind_String = 4,
    AdKind_Named_String = 5
};

enum AdDestinationKind : long {
    AdDest_TBD = 0,
    AdDest_Nil = 1,
    AdDest_ODS = 2,
    AdDest_Out = 3,
    AdDest_Cout = 4,
    AdDest_Err = 5,
    AdDest_Cerr = 6,
    AdDest_File = 7,
    AdDest_Tio_Out = 8,
    AdDest_Tio_Err = 9,
    AdDest_Tio_Log = 10
};

enum AdDiagnosticNameValueMsgId : long {
    AdNameValue_Expected_Equal = 0,
    AdNameValue_Missing_Quote = 1,
    AdNameValue_Bad_Name_Character = 2,
    AdNameValue_Duplicate_Name = 3,
    AdNameValue_Internal_Error = 4
};

// Ids the library tests itself.
enum AdDiagnosticId : long {
    AdDiag_ODS = 2,
    AdDiag_ZTINTSVR = 14,
    AdDiag_THROW = 21,
    AdDiag_WORKING_DIRECTORY = 43,
    AdDiag_STAT = 44,
    AdDiag_FILE_DESCRIPTORS = 45,
    AdDiag_MESSAGE_CATALOG = 46,
    AdDiag_PROCESS = 49,
    AdDiag_CHILD_PROCESS = 50,
    AdDiag_FILE_BUFFER = 51,
    AdDiag_ZTRPC = 67,
    AdDiag_DIAG_FLAGS = 89,
    AdDiag_PREFIX = 90,
    AdDiag_MESSAGE_INFO = 91,
    AdDiag_MESSAGE_LIMIT = 92,
    AdDiag_MESSAGE_WAIT = 93,
    AdDiag_MEMORY = 95,
    AdDiag_OUTPUT_LIMIT = 98
};

// The guard of every state change of the engine (recursive: a report made while the
// engine holds the lock works).
class AdDiagnosticLock {
public:
    AdDiagnosticLock();
    ~AdDiagnosticLock();
    AdDiagnosticLock(const AdDiagnosticLock&) = delete;
    AdDiagnosticLock& operator=(const AdDiagnosticLock&) = delete;
    static Fnd_Recursive_Semaphore* m_mutex;
};

class AdDiagnostic {
public:
    // Ids run from 0 to 234; a greater id is never enabled.
    static constexpr long Last_Id = 234;
    static constexpr long Flag_Count = 236;
    static constexpr long Kind_Count = 234;

    static std::array<long, Flag_Count> m_DiagnosticFlags;
    static long* const DiagnosticFlagsPtr;
    static std::array<long, Kind_Count> DiagnosticKinds;
    static std::array<long, Kind_Count> DiagnosticCheck;
    static const AdDiagnosticTuple* const m_TraceTuples;
    static const AdDiagnosticTuple* const m_ReportTuples;
    static const AdDiagnosticTuple* const m_BehaviorTuples;
    // 0: not evaluated; -1: evaluation running; 1: done.
    static long m_bFlagsInitialized;
    static std::FILE* m_FileHandle;
    static AdDestinationKind m_DestinationKind;
    static int m_DestinationFile;
    static long m_nDiagnosticsReported;

    static const Code_Unit m_strPrefixHead[];
    static const Code_Unit m_strPrefixTail[];
    static const Code_Unit m_strRegistryPath[];
    static const Code_Unit m_TraceEnvVar[];
    static const Code_Unit m_ReportEnvVar[];
    static const Code_Unit m_BehaviorEnvVar[];
    static const Code_Unit m_DiagNameEnvVar[];
    static const Code_Unit m_OutputEnvVar[];
    static const Code_Unit m_ResetEnvVar[];

    // ---- Checks
    static long IsDiagnosticIdValid(long Id);
    // Whether the element of id is nonzero.
    static long IsEnabled(long Id);
    // With a level: as a bit mask (Is_Mask nonzero) or as a minimum.
    static long IsEnabled(long Id, long Level, long Is_Mask);
    // A name against a string diagnostic; evaluates nothing.
    static long IsEnabled(long Id, const Code_Unit* Name);
    static long IsEnabledLetter(long Id, Code_Unit Letter);
    static long GetDiagnosticIdLevel(long Id);
    static Fnd_String GetDiagnosticString(long Id);

    // ---- Output; each does nothing while the destination is nil.
    static void Report(const Code_Unit* Text);
    static void Report(const Code_Unit* Label, const Code_Unit* Text);
    static void Report(const Code_Unit* Label, const Code_Unit* Text, const Code_Unit* Detail);
    static void ReportV(const Code_Unit* Label, const Code_Unit* Format, ...);
    static void TestAndReportV(long Id, const Code_Unit* Label, const Code_Unit* Format, ...);
    static void TestAndReportV(long Id, long Level, long Is_Mask, const Code_Unit* Label,
                               const Code_Unit* Format, ...);
    static void PutLine(const Code_Unit* Text);
    static void PutText(const Code_Unit* Text);
    static void PutData(const Code_Unit* Text, long Length);
    static void PutSeparator(bool As_Line, long Width);
    static void ShowDiagnosticFlags(long Mask, bool Evaluate_First);
    static void Breakpoint(long Code);

    // ---- Control
    [[nodiscard]] static long GetDiagnosticName(Fnd_String& Name);
    static bool IsDiagnosticEnvVar(const Code_Unit* Name);
    static Fnd_String GetDiagnosticEnvVar(const Code_Unit* Name, bool Replace);
    static void SetDiagnosticEnvVar(const Code_Unit* Name, const Code_Unit* Value);
    static void Reset(const Code_Unit* Trace, const Code_Unit* Report, const Code_Unit* Behavior,
                      const Code_Unit* Name, const Code_Unit* Output);
    static void ResetOneEnvVar(const Code_Unit* Name, const Code_Unit* Value);
    struct Added_Flags {
        const Code_Unit* Trace = nullptr;
        const Code_Unit* Report = nullptr;
        const Code_Unit* Behavior = nullptr;
        const Code_Unit* Name = nullptr;
        const Code_Unit* Output = nullptr;
    };
    static void AddFlags(bool Replace, bool Prepend, const Added_Flags& Flags);
    static void GetFlags(CStringArray& Out);
    static void SetFlags(const CStringArray& Flags);
    static void ResetDiagnosticFlags(long Show);
    static void CheckDiagnosticFlags(long Show);
    static void RuntimeReset();
    static AdDestinationKind GetDestinationKind();
    static void SetDestinationKind(AdDestinationKind Kind);
    static Fnd_String GetDestinationDesc();
    static int GetDestinationFile();
    [[nodiscard]] static long OpenAuxiliary();
    static void CloseAuxiliary();
    static void ReportOpenFiles(long) {}
    static void ShowFStatInfo(long) {}

    // ---- Formatters
    static Fnd_String Join(const Fnd_String& A, const Fnd_String& B);
    static Fnd_String Join(const Fnd_String& A, const Fnd_String& B, const Fnd_String& C);
    static Fnd_String Join(const Fnd_String& A, const Fnd_String& B, const Fnd_String& C,
                           const Fnd_String& D);
    static Fnd_String Join(const Fnd_String& A, long B);
    static Fnd_String Join(long A, const Fnd_String& B);
    static Fnd_String Join_With_Comma(std::initializer_list<Fnd_String> Texts);
    static Fnd_String Join_With_Comma(const Fnd_String& A, long B);
    static Fnd_String Join_With_Comma(long A, const Fnd_String& B);
    static Fnd_String Join_With_Space(const Fnd_String& A, const Fnd_String& B);
    static Fnd_String Join_With_Space(const Fnd_String& A, const Fnd_String& B,
                                      const Fnd_String& C);
    static Fnd_String Join_With_Space(const Fnd_String& A, const Fnd_String& B,
                                      const Fnd_String& C, const Fnd_String& D);
    static Fnd_String Join_With_Space(const Fnd_String& A, long B);
    static Fnd_String Join_With_Space(long A, const Fnd_String& B);
    static Fnd_String Join_With_Colon(const Fnd_String& A, const Fnd_String& B);
    static Fnd_String Join_With_ColonColon(const Fnd_String& A, const Fnd_String& B);
    static Fnd_String Join_With_Parentheses(const Fnd_String& A);
    static Fnd_String To_Bool(long Value);
    static Fnd_String To_Dec(long Value);
    static Fnd_String To_Unsigned(unsigned long Value);
    static Fnd_String To_Hex(long Value);
    static Fnd_String To_Obj(const void* Pointer);
    static Fnd_String To_Str(const Code_Unit* Text, bool Force_Quotes);
    static Fnd_String To_Str(long Count, const Code_Unit* const* Texts, bool Force_Quotes);
    static Fnd_String To_String_Array(const CStringArray* Array);

    // ---- Seams for tests: a clock giving seconds and milliseconds (null: the real one).
    using Clock_Function = void (*)(long& Seconds, long& Milliseconds);
    static void Set_Clock(Clock_Function Clock);

private:
    static void SetDiagnosticFlags(long Show);
    static void Do_Report(const Fnd_String& Text);
    static void Do_PutLine(const Fnd_String& Prefix, const Fnd_String& Text);
    static void Write_Line(const Fnd_String& Line);
    static Fnd_String Message_Info_Text(long Info);
    static void ResetTuple(const AdDiagnosticTuple* Rows);
    static void Decide_Destination();
    static void ShowDiagnosticFlagsForTuple(const Code_Unit* Word,
                                            const AdDiagnosticTuple* Rows);
    static void ShowDiagnosticVar(const Code_Unit* Name, const Fnd_String& Text,
                                  const Fnd_String& Left, const Fnd_String& Right);
    static Fnd_String Value_Image(long Id);
    static Fnd_String GetFlagSettings();
    static const Fnd_String* Prefix_Text();
};

// ---- Functions beside the class
// Reads "NAME=value;NAME='v;w'" into Map (names upper-cased). 1 on success; else 0 with
// the error's id and up to 40 characters of context. A null text is empty.
[[nodiscard]] long AdDiagnosticParseNameValueString(const Code_Unit* Text, CMapStringToString& Map,
                                                    long& Message_Id, Fnd_String& Context,
                                                    bool Allow_Duplicates, bool Allow_Name_Only);
void AdDiagnosticMakeNameValueString(const CMapStringToString& Map, Fnd_String& Out,
                                     bool Sorted);
void AdDiagnosticSortStrings(CStringArray& Array, bool Case_Sensitive, bool Ascending,
                             bool Collate);
void AdDiagnosticGetCurrentTime(long& Seconds, long& Milliseconds);
Fnd_String AdDiagnosticGetYearMonthDay();
Fnd_String AdDiagnosticGetMilitaryTime();
Fnd_String AdDiagnosticGetYearMonthDayAndMilitaryTime();
Fnd_String AdDiagnosticGetAscTime();
Fnd_String AdDiagnosticCStringArrayToCString(const CStringArray& Array);
Fnd_String AdDiagnosticGetMemoryDiagnostics();

extern "C" {
// A place for a breakpoint; no effect a program sees.
void ZT_Breakpoint(long Code);
// Sleeps in steps of 5 seconds while its argument, held where a debugger can clear it,
// is nonzero.
void ZT_Debugger_Wait(long Value);
}
