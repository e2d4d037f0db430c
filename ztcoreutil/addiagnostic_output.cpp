// The output side of the diagnostics engine: counted report lines with their bracket,
// the destinations, the output file with its limit and rollover, and the banner.
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <unicode/ustring.h>

#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_process.h"
#include "foundation/host/hst_timestamp.h"
#include "foundation/streams/ztconsole.h"
#include "foundation/textio/tio_streams.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztcoreutil/addiagnostic_internal.h"

namespace {

// How long a line may wait for a full pipe or terminal before it is dropped: the engine
// must never hold the host forever.
constexpr int Write_Wait_Milliseconds = 2000;

struct Clock_Reading {
    long Seconds = 0;
    long Milliseconds = 0;
};
}  // namespace

// Set by the first timed line; a new clock (a test's) starts a new base.
bool Ad_Clock_Started = false;

namespace {
Clock_Reading Base_Time;
Clock_Reading Last_Time;

Fnd_String Seconds_Between(const Clock_Reading& From, const Clock_Reading& To) {
    long seconds = To.Seconds - From.Seconds;
    long milliseconds = To.Milliseconds - From.Milliseconds;
    if (milliseconds < 0) {
        seconds -= 1;
        milliseconds += 1000;
    }
    char bytes[48];
    std::snprintf(bytes, sizeof bytes, "%ld.%.3ld", seconds, milliseconds);
    return Ad_Ascii(bytes);
}

void Add_Item(Fnd_String& Info, const Fnd_String& Item) {
    if (!Info.Is_Empty()) Info.Append(u", ");
    Info.Append(Item);
}

Fnd_String Labelled(bool Labels, const Code_Unit* Label, long Value) {
    Fnd_String text(Labels ? Label : u"");
    text.Append(AdDiagnostic::To_Dec(Value));
    return text;
}

// Whether the descriptor takes a write within the bounded wait.
bool Writable(int Descriptor) {
    pollfd poll_entry{Descriptor, POLLOUT, 0};
    int ready = 0;
    do {
        ready = ::poll(&poll_entry, 1, Write_Wait_Milliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && !(poll_entry.revents & (POLLERR | POLLNVAL));
}

// One write on a descriptor, after waiting a bounded time for room.
void Write_Bounded(int Descriptor, const std::string& Bytes) {
    if (!Writable(Descriptor)) return;
    ssize_t written = 0;
    do {
        written = ::write(Descriptor, Bytes.data(), Bytes.size());
    } while (written < 0 && errno == EINTR);
}

// Opens the file for appending, close-on-exec, mode 0600. A FIFO or socket stays
// non-blocking, so a reader that stops reading never blocks the host.
std::FILE* Open_Append(const Fnd_String& Name) {
    AdMbcsString path;
    if (!path.cvtFromTchar(AdCharset::getDefaultCharset(), Name, AdCharset::cvt_stop)) return nullptr;
    int descriptor = -1;
    do {
        descriptor = ::open(path.getData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK,
                            S_IRUSR | S_IWUSR);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) return nullptr;
    struct stat info {};
    if (::fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode))
        (void)::fcntl(descriptor, F_SETFL, O_WRONLY | O_APPEND);
    std::FILE* file = ::fdopen(descriptor, "a");
    if (file == nullptr) ::close(descriptor);
    return file;
}

}  // namespace

std::string Ad_UTF8(const Fnd_String& Text) {
    std::string bytes(static_cast<size_t>(Text.Get_Length()) * 3 + 1, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(bytes.data(), static_cast<int32_t>(bytes.size()), &length, Text.Data(),
                       static_cast<int32_t>(Text.Get_Length()), 0xFFFD, nullptr, &status);
    if (U_FAILURE(status)) return std::string();
    bytes.resize(static_cast<size_t>(length));
    return bytes;
}

// ---- The output file
long AdDiagnostic::OpenAuxiliary() {
    AdDiagnosticLock lock;
    if (m_FileHandle) {
        std::fclose(m_FileHandle);
        m_FileHandle = nullptr;
    }
    Fnd_String name = Ad_Texts().Aux_File_Root;
    Fnd_String reset;
    const bool reset_set = Fnd_String_Library::Get_Environment(Fnd_String(m_ResetEnvVar), reset) &&
                           !reset.Is_Empty();
    if (m_DiagnosticFlags[AdDiag_OUTPUT_LIMIT] > 0 && !reset_set) {
        name.Append(u".");
        name.Append(AdDiagnosticGetYearMonthDayAndMilitaryTime());
    }
    Ad_Texts().Aux_File = name;
    m_FileHandle = Open_Append(name);
    return m_FileHandle != nullptr;
}

void AdDiagnostic::CloseAuxiliary() {
    AdDiagnosticLock lock;
    if (m_FileHandle == nullptr) return;
    const int result = std::fclose(m_FileHandle);
    m_FileHandle = nullptr;
    if (result != 0 && m_DestinationKind == AdDest_File) {
        Fnd_String text(u"*** unable to close diagnostic output file \"");
        text.Append(Ad_Texts().Aux_File);
        text.Append(u"\"");
        PutLine(text.Data());
    }
}

// ---- Lines
void AdDiagnostic::Write_Line(const Fnd_String& Line) {
    // A destination that reports diagnostics of its own while it writes (the log
    // stream looking up a catalog, say) would write into itself: such lines are dropped.
    static bool Writing = false;
    if (Writing) return;
    Writing = true;
    switch (m_DestinationKind) {
    case AdDest_Out:
    case AdDest_Err:
        Write_Bounded(m_DestinationFile, Ad_UTF8(Line));
        break;
    case AdDest_Cout:
    case AdDest_Cerr: {
        if (!Writable(m_DestinationKind == AdDest_Cout ? 1 : 2)) break;
        ztostream& stream = m_DestinationKind == AdDest_Cout ? get_ztcout() : get_ztcerr();
        stream.write(Line.Data(), Line.Get_Length());
        stream.flush();
        stream.clear();
        break;
    }
    case AdDest_File:
        if (m_FileHandle) {
            const std::string bytes = Ad_UTF8(Line);
            std::fwrite(bytes.data(), 1, bytes.size(), m_FileHandle);
            std::fputc('\n', m_FileHandle);
            std::fflush(m_FileHandle);
            std::clearerr(m_FileHandle);
        }
        break;
    case AdDest_Tio_Out:
        (void)Tio_Out.Put(Line);
        break;
    case AdDest_Tio_Err:
        (void)Tio_Err.Put(Line);
        break;
    case AdDest_Tio_Log:
        Tio_Log.Put_Line(Fnd_Debug_Msg, Line);
        break;
    default:
        break;
    }
    Writing = false;
}

void AdDiagnostic::Do_PutLine(const Fnd_String& Prefix, const Fnd_String& Text) {
    AdDiagnosticLock lock;
    const AdDestinationKind kind = GetDestinationKind();
    if (kind == AdDest_Nil || kind == AdDest_ODS) return;
    Fnd_String body = Text;
    if (body.Get_Length() > 0 && body[body.Get_Length() - 1] == u'\n')
        body.Truncate(body.Get_Length() - 1);
    Fnd_String line = Prefix;
    for (long i = 0; i < body.Get_Length(); ++i) {
        line.Append(Fnd_Char(body[i]));
        if (body[i] == u'\n') line.Append(Prefix);
    }
    if (kind != AdDest_File && kind != AdDest_Tio_Log) line.Append(u"\n");
    Write_Line(line);
}

Fnd_String AdDiagnostic::Message_Info_Text(long Info) {
    const bool labels = (Info & 4096) != 0;
    Clock_Reading now;
    if (Info & (256 | 512 | 1024 | 2048)) {
        Ad_Read_Clock(now.Seconds, now.Milliseconds);
        if (!Ad_Clock_Started) {
            Base_Time = Last_Time = now;
            Ad_Clock_Started = true;
        }
    }
    Fnd_String info;
    const Code_Unit* seconds_label = labels ? u" secs" : u"";
    if (Info & 1024) {
        Fnd_String item = Seconds_Between(Base_Time, now);
        item.Append(seconds_label);
        Add_Item(info, item);
    }
    if (Info & 2048) {
        Fnd_String item(u"+");
        item.Append(Seconds_Between(Last_Time, now));
        item.Append(seconds_label);
        Add_Item(info, item);
        Last_Time = now;
    }
    const Hst_Timestamp stamp(now.Seconds);
    if (Info & 512) Add_Item(info, stamp.Image(Year_Month_Day, No_Time, 1));
    if (Info & 256) Add_Item(info, stamp.Image(No_Date, Military_Time, 1));
    if (Info & 16) Add_Item(info, Hst_Processes::Machine_Name());
    if (Info & 32) Add_Item(info, Labelled(labels, u"PGID ", ::getpgrp()));
    if (Info & 8) {
        Fnd_String item(labels ? u"TID " : u"");
        item.Append(To_Unsigned(static_cast<unsigned long>(::syscall(SYS_gettid))));
        Add_Item(info, item);
    }
    if (Info & 4) Add_Item(info, Labelled(labels, u"PPID ", ::getppid()));
    if (Info & 2) Add_Item(info, Labelled(labels, u"PID ", ::getpid()));
    if (Info & 1) {
        Fnd_String item = To_Dec(m_nDiagnosticsReported);
        if (labels) item.Append(u" msgs");
        Add_Item(info, item);
    }
    return info;
}

void AdDiagnostic::Do_Report(const Fnd_String& Text) {
    long count = 0;
    {
        AdDiagnosticLock lock;
        count = ++m_nDiagnosticsReported;
        Fnd_String prefix;
        const Fnd_String* user_prefix = Prefix_Text();
        if (user_prefix && !user_prefix->Is_Empty()) {
            prefix.Append(*user_prefix);
            prefix.Append(u" ");
        }
        prefix.Append(m_strPrefixHead);
        if (m_DiagnosticFlags[AdDiag_MESSAGE_INFO] != 0) {
            const Fnd_String info = Message_Info_Text(m_DiagnosticFlags[AdDiag_MESSAGE_INFO]);
            if (!info.Is_Empty()) {
                prefix.Append(u" ");
                prefix.Append(info);
            }
        }
        prefix.Append(m_strPrefixTail);
        Do_PutLine(prefix, Text);
        const long limit = m_DiagnosticFlags[AdDiag_OUTPUT_LIMIT];
        if (m_DestinationKind == AdDest_File && limit > 0 && count % limit == 0 && !OpenAuxiliary())
            m_DestinationKind = AdDest_Nil;
    }
    const long memory = m_DiagnosticFlags[AdDiag_MEMORY];
    if (memory > 0 && count % (memory + 1) == 0) Do_Report(AdDiagnosticGetMemoryDiagnostics());
    if (count == m_DiagnosticFlags[AdDiag_MESSAGE_WAIT]) {
        const Fnd_String head(m_strPrefixHead), tail(m_strPrefixTail);
        Do_PutLine(Join(head, u" WAITING FOR DEBUGGER ...", tail), Fnd_String());
        ZT_Debugger_Wait(count);
        Do_PutLine(Join(head, u" CONTINUING AFTER DEBUGGER WAIT", tail), Fnd_String());
    }
    const long message_limit = m_DiagnosticFlags[AdDiag_MESSAGE_LIMIT];
    ZT_Breakpoint(count < message_limit ? 0 : count == message_limit ? 1 : 2);
}

// ---- Reports
namespace {
bool Output_Off() {
    AdDiagnostic::CheckDiagnosticFlags(1);
    return AdDiagnostic::GetDestinationKind() == AdDest_Nil;
}

Fnd_String Labelled_Text(const Code_Unit* Label, const Code_Unit* Text) {
    Fnd_String line(Label ? Label : u"");
    if (Text && *Text) {
        line.Append(u": ");
        line.Append(Text);
    }
    return line;
}

Fnd_String Formatted(const Code_Unit* Format, va_list Args) {
    Fnd_String text;
    if (Format) text.FormatV(Format, Args);
    return text;
}
}  // namespace

void AdDiagnostic::Report(const Code_Unit* Text) {
    if (Output_Off()) return;
    Do_Report(Fnd_String(Text ? Text : u""));
}

void AdDiagnostic::Report(const Code_Unit* Label, const Code_Unit* Text) {
    if (Output_Off()) return;
    Do_Report(Labelled_Text(Label, Text));
}

void AdDiagnostic::Report(const Code_Unit* Label, const Code_Unit* Text, const Code_Unit* Detail) {
    if (Detail == nullptr || *Detail == 0) return Report(Label, Text);
    Fnd_String text(Text ? Text : u"");
    text.Append(u" (");
    text.Append(Detail);
    text.Append(u")");
    Report(Label, text.Data());
}

void AdDiagnostic::ReportV(const Code_Unit* Label, const Code_Unit* Format, ...) {
    if (Output_Off()) return;
    va_list args;
    va_start(args, Format);
    const Fnd_String text = Formatted(Format, args);
    va_end(args);
    Fnd_String line(Label ? Label : u"");
    line.Append(u": ");
    line.Append(text);
    Do_Report(line);
}

void AdDiagnostic::TestAndReportV(long Id, const Code_Unit* Label, const Code_Unit* Format, ...) {
    if (Id > Last_Id || Id < 0 || !IsDiagnosticIdValid(Id) || m_DiagnosticFlags[Id] <= 0) return;
    va_list args;
    va_start(args, Format);
    const Fnd_String text = Formatted(Format, args);
    va_end(args);
    Report(Label, text.Data());
}

void AdDiagnostic::TestAndReportV(long Id, long Level, long Is_Mask, const Code_Unit* Label,
                                  const Code_Unit* Format, ...) {
    if (!IsEnabled(Id, Level, Is_Mask)) return;
    va_list args;
    va_start(args, Format);
    const Fnd_String text = Formatted(Format, args);
    va_end(args);
    Report(Label, text.Data());
}

void AdDiagnostic::PutLine(const Code_Unit* Text) {
    if (Output_Off()) return;
    Fnd_String prefix;
    const Fnd_String* user_prefix = Prefix_Text();
    if (user_prefix) prefix = *user_prefix;
    Do_PutLine(prefix, Fnd_String(Text ? Text : u""));
}

void AdDiagnostic::PutText(const Code_Unit* Text) {
    if (Output_Off()) return;
    Do_PutLine(Fnd_String(), Fnd_String(Text ? Text : u""));
}

void AdDiagnostic::PutData(const Code_Unit* Text, long Length) {
    if (Output_Off() || Text == nullptr) return;
    AdDiagnosticLock lock;
    Write_Line(Fnd_String(Text, Length));
}

void AdDiagnostic::PutSeparator(bool As_Line, long Width) {
    const Fnd_String line(static_cast<unsigned short>(u'-'), Width > 64 ? int(Width + 1) : 64);
    if (As_Line)
        PutLine(line.Data());
    else
        PutText(line.Data());
}

// ---- The banner
Fnd_String AdDiagnostic::Value_Image(long Id) {
    const long element = m_DiagnosticFlags[Id];
    char bytes[96];
    switch (Ad_Kind_Of(Id)) {
    case AdKind_Boolean:
        return Fnd_String(element ? u"TRUE" : u"FALSE");
    case AdKind_Number:
        std::snprintf(bytes, sizeof bytes, "%d = %#x", int(element), unsigned(element));
        return Ad_Ascii(bytes);
    case AdKind_Letters: {
        std::string letters;
        for (int bit = 0; bit < 26; ++bit)
            if (static_cast<uint32_t>(element) >> bit & 1U) letters += char('A' + bit);
        std::snprintf(bytes, sizeof bytes, "%d = %#x = \"%s\"", int(element), unsigned(element),
                      letters.c_str());
        return Ad_Ascii(bytes);
    }
    default: {
        const Fnd_String stored = GetDiagnosticString(Id);
        if (element == 0 || element == -1) return Fnd_String(u"NULL");
        return Join(u"\"", stored, u"\"");
    }
    }
}

void AdDiagnostic::ShowDiagnosticFlagsForTuple(const Code_Unit* Word,
                                               const AdDiagnosticTuple* Rows) {
    Report(Join(u"Diagnostic ", Word).Data());
    for (; Rows->name; ++Rows) {
        Fnd_String line(u"   ");
        line.Append(Rows->name);
        line.Append(u" (");
        line.Append(To_Dec(Rows->id));
        line.Append(u") => ");
        line.Append(Value_Image(Rows->id));
        Report(line.Data());
    }
}

void AdDiagnostic::ShowDiagnosticVar(const Code_Unit* Name, const Fnd_String& Text,
                                     const Fnd_String& Left, const Fnd_String& Right) {
    Fnd_String line(u"   ");
    line.Append(Name);
    line.Append(Text.Is_Empty() ? Fnd_String(u" (not set)") : Join(u" = ", Text));
    Report(line.Data());
    if (Left.Is_Empty() && Right.Is_Empty()) return;
    Report(Join(u"      added fore = ", Left).Data());
    Report(Join(u"      added aft  = ", Right).Data());
}

void AdDiagnostic::ShowDiagnosticFlags(long Mask, bool Evaluate_First) {
    if (Evaluate_First) CheckDiagnosticFlags(1);
    Ad_Engine_Texts& texts = Ad_Texts();
    Report(Join(u"Diagnostic start time is ", AdDiagnosticGetAscTime()).Data());
    Report(u"Diagnostic Variables");
    Report(Join(u"   ", m_OutputEnvVar, u" = ", GetDestinationDesc()).Data());
    if (Mask & 16) {
        ShowDiagnosticVar(m_BehaviorEnvVar, texts.Behavior, texts.Behavior_Left,
                          texts.Behavior_Right);
        ShowDiagnosticVar(m_ReportEnvVar, texts.Report, texts.Report_Left, texts.Report_Right);
        ShowDiagnosticVar(m_TraceEnvVar, texts.Trace, texts.Trace_Left, texts.Trace_Right);
    }
    Fnd_String name;
    (void)GetDiagnosticName(name);
    Report(Join(u"   ", m_DiagNameEnvVar, name.Is_Empty() ? Fnd_String(u" (not set)")
                                                        : Join(u" = ", name))
               .Data());
    if (Mask & 1) ShowDiagnosticFlagsForTuple(u"Behaviors", m_BehaviorTuples);
    if (Mask & 2) ShowDiagnosticFlagsForTuple(u"Reports", m_ReportTuples);
    if (Mask & 4) ShowDiagnosticFlagsForTuple(u"Traces", m_TraceTuples);
}
