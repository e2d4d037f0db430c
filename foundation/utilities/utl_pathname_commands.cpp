// Utl_Pathname: help pages, terminals, editors and commands. No command is ever given
// to a shell: programs run from argument lists.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_array.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_child_process.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_process.h"
#include "foundation/host/hst_switches.h"
#include "foundation/host/hst_timestamp.h"
#include "foundation/textio/tio_streams.h"
#include "foundation/utilities/utl_errors.h"
#include "foundation/utilities/utl_file_reader.h"
#include "foundation/utilities/utl_pathname.h"
#include "foundation/utilities/utl_string_array.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

std::vector<Fnd_String> Lines_Of(const Fnd_String& Text) {
    std::vector<Fnd_String> lines;
    long start = 0;
    for (long i = 0; i < Text.Get_Length(); ++i) {
        if (Text[i] != u'\n') continue;
        lines.push_back(Text.Get(start, i - start));
        start = i + 1;
    }
    if (start < Text.Get_Length()) lines.push_back(Text.Get(start, Text.Get_Length() - start));
    return lines;
}

Fnd_String Stripped(const Fnd_String& Text) {
    Fnd_String result(Text);
    Fnd_String_Library::Strip(result);
    return result;
}

// The null-ended pointers of an argument list, valid while Arguments lives.
std::vector<const Code_Unit*> Argv_Of(const Fnd_String_Array& Arguments) {
    std::vector<const Code_Unit*> argv;
    for (long i = Arguments.Get_First(); i <= Arguments.Get_Last(); ++i)
        argv.push_back(Arguments[i]->Data());
    argv.push_back(nullptr);
    return argv;
}

void Close_Given(const Utl_Run_Options& Options) {
    for (int fd : {Options.In_Fd, Options.Out_Fd, Options.Err_Fd}) {
        if (fd < 0) continue;
        Fnd_Condition ignored;
        Hst_Filesystem::Close_File(fd, ignored);
    }
}

// An unnamed temporary file holding Text, at its start; -1 on failure. A file rather
// than a pipe, so that a child that writes much before it reads can never block us.
int Input_File(const Fnd_String& Text, Fnd_Condition& Condition) {
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Text, AdCharset::cvt_stop)) {
        Condition = Utl_Text_Error(Fnd_String(u"Encoding conversion failed."));
        return -1;
    }
    const int fd = open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (fd < 0) {
        Condition = Hst_Sys_Call_Error(2, errno);
        return -1;
    }
    const std::string& data = bytes.getString();
    for (std::size_t done = 0; done < data.size();) {
        const long count = Hst_Filesystem::Write(fd, data.data() + done,
                                                 static_cast<long>(data.size() - done), Condition);
        if (count < 0) {
            close(fd);
            return -1;
        }
        done += static_cast<std::size_t>(count);
    }
    lseek(fd, 0, SEEK_SET);
    return fd;
}

long Is_Character_Special(int Fd) {
    struct stat status {};
    return fstat(Fd, &status) == 0 && S_ISCHR(status.st_mode);
}

}  // namespace

// ---- Help pages

long Utl_Pathname::Find_Man_Page(Fnd_Condition& Condition, const Fnd_String& Name,
                                 const Fnd_String& Section, Fnd_String& Path) {
    Condition.Clear();
    Fnd_String lang = Hst_Switches::Env_Lang_Switch_Value();
    if (lang.Is_Empty()) lang = u"C";
    for (const Fnd_String& language : {lang, Fnd_String(u"C")}) {
        Combine(Hst_Switches::Product_Home_Switch_Value(), Fnd_String(u"doc"), Path);
        Append(Path, language);
        Append(Path, Fnd_String(u"man"));
        Append(Path, Fnd_String(u"man") + Section);
        Append(Path, Name + u"." + Section);
        if (Exists(Path)) return 1;
    }
    Path.Make_Empty();
    Condition = Utl_Text_Error(Fnd_String(u"Can't find man page for: ") + Name);
    return 0;
}

long Utl_Pathname::Output_Man_Page(Fnd_Condition& Condition, const Fnd_String& File) {
    Fnd_String text;
    if (!Get_File_Contents(Condition, File, text)) return 0;
    Tio_Out.Put(text);
    return 1;
}

long Utl_Pathname::Show_Man_Page(Fnd_Condition& Condition, const Fnd_String& Name,
                                 const Fnd_String& Section) {
    Fnd_String path;
    return Find_Man_Page(Condition, Name, Section, path) && Output_Man_Page(Condition, path);
}

void Utl_Pathname::Output_Help_Lines(const Fnd_String& Text) {
    for (const Fnd_String& line : Lines_Of(Text)) Tio_Out.Put_Line(Fnd_String(u"  ") + line);
}

long Utl_Pathname::Get_Man_Help_Info(const Fnd_String& File, Fnd_String& Title,
                                     Fnd_String& Synopsis) {
    Title.Make_Empty();
    Synopsis.Make_Empty();
    Utl_File_Reader reader(File);
    auto Find = [&reader](const Code_Unit* Heading) {
        while (reader.Getline())
            if (Stripped(reader.Get_Line()) == Heading) return true;
        return false;
    };
    if (!Find(u"NAME")) return 0;
    while (reader.Getline()) {
        Title = Stripped(reader.Get_Line());
        if (!Title.Is_Empty()) break;
    }
    if (!Find(u"SYNOPSIS")) return !Title.Is_Empty();
    while (reader.Getline()) {
        const Fnd_String key = Stripped(reader.Get_Line());
        if (key == u"DESCRIPTION" || key == u"OPTIONS") break;
        if (key.Is_Empty() && Synopsis.Is_Empty()) continue;
        Fnd_String line(reader.Get_Line());
        Fnd_String_Library::Strip_Trailing(line);
        long blanks = 0;
        while (blanks < 4 && blanks < line.Get_Length() && line[blanks] == u' ') ++blanks;
        Synopsis.Append(line.Get(blanks, line.Get_Length() - blanks));
        Synopsis.Append(u"\n");
    }
    return !Title.Is_Empty();
}

long Utl_Pathname::Man_Help_Info(Fnd_Condition& Condition, const Fnd_String& Name,
                                 Fnd_String& Title, Fnd_String& Synopsis,
                                 const Fnd_String& Section) {
    Fnd_String path;
    if (!Find_Man_Page(Condition, Name, Section, path)) return 0;
    return Get_Man_Help_Info(path, Title, Synopsis);
}

// ---- Terminals

long Utl_Pathname::Has_Terminal() { return Is_Character_Special(0) && Is_Character_Special(1); }

long Utl_Pathname::Redirect_Io(Fnd_Condition& Condition, const Fnd_String& File, long Append,
                               long Use_Stdin, long Use_Stdout, long Use_Stderr) {
    int fd = -1;
    if (Append)
        Hst_Filesystem::Make_File(File, nullptr, Hst_Filesystem::Hst_Open_Read_Write, Condition,
                                  fd, Hst_Filesystem::Hst_Open_Append);
    else
        Hst_Filesystem::Make_File(File, nullptr, Hst_Filesystem::Hst_Open_Write, Condition, fd,
                                  Hst_Filesystem::Hst_Open_Create | Hst_Filesystem::Hst_Open_Truncate);
    if (Condition.Failed()) return 0;
    bool good = true;
    if (good && Use_Stdout) good = Hst_Process::Redirect(1, fd, Condition, 0) != 0;
    if (good && Use_Stderr) good = Hst_Process::Redirect(2, fd, Condition, 0) != 0;
    if (good && Use_Stdin) good = Hst_Process::Redirect(0, fd, Condition, 0) != 0;
    Fnd_Condition ignored;
    Hst_Filesystem::Close_File(fd, ignored);
    return good && !Condition.Failed();
}

// ---- Editors

void Utl_Pathname::Visit_Arguments(const Fnd_String& Command, const Fnd_String& File, long Line,
                                   long Plain, Fnd_String_Array& Arguments) {
    Arguments.Make_Empty();
    const Utl_String_Array words(Command, 10, 0);
    if (words.Get_Count() == 0) return;
    const Fnd_String program = *words[0];
    Fnd_String line_text;
    line_text.Format(u"%ld", Line);
    bool line_given = false;
    bool file_given = false;
    Arguments.Add(program);
    for (long i = 1; i < words.Get_Count(); ++i) {
        Fnd_String word = *words[i];
        if (!Plain && Line > 1 && word.Find(u"%l") >= 0) {
            word.Replace(Fnd_String(u"%l"), line_text);
            line_given = true;
        }
        if (word.Find(u"%n") >= 0) {
            word.Replace(Fnd_String(u"%n"), File);
            file_given = true;
        }
        Arguments.Add(word);
    }
    Fnd_String name;
    Basename(program, name);
    if (!line_given && !Plain && Line >= 2) {
        if (name == u"vi") {
            Arguments.Add(Fnd_String(u"-c"));
            Arguments.Add(line_text);
        } else if (name.Find(u"emacs") >= 0) {
            Arguments.Add(Fnd_String(u"+") + line_text);
        }
    }
    if (!file_given) Arguments.Add(File);
    if (name == u"vi") {
        Arguments.Insert(Arguments.Get_First(), Fnd_String(Hst_Opt_Table[2]));
        Arguments.Insert(Arguments.Get_First(), Hst_Switches::Xterm_Switch_Value());
    }
}

long Utl_Pathname::Visit_Command(Fnd_Condition& Condition, const Fnd_String& Command,
                                 const Fnd_String& File, long Line, long Plain) {
    Fnd_String_Array arguments;
    Visit_Arguments(Command, File, Line, Plain, arguments);
    if (arguments.Count() == 0) {
        Condition = Utl_Text_Error(Fnd_String(u"No editor command"));
        return 0;
    }
    Utl_Run_Options options;
    options.Arguments = &arguments;
    options.Wait = false;
    int status = 0;
    return Run_Command(Condition, status, options);
}

long Utl_Pathname::Base_Visit(Fnd_Condition& Condition, const Fnd_String& File, long Line,
                              long Plain) {
    Condition.Clear();
    Fnd_String command = Hst_Switches::Editor_Switch_Value();
    if (command.Is_Empty()) command = Hst_Switches::Env_Editor_Switch_Value();
    if (command.Is_Empty()) return 0;
    return Visit_Command(Condition, command, File, Line, Plain);
}

// ---- Commands

long Utl_Pathname::Run_Command(Fnd_Condition& Condition, int& Status, Utl_Run_Options& Options) {
    Condition.Clear();
    Status = 0;
    Options.Pid = 0;
    if (Options.Arguments == nullptr || Options.Arguments->Count() == 0) {
        Condition = Utl_Text_Error(Fnd_String(u"No command to run"));
        Close_Given(Options);
        return 0;
    }
    if (Options.Output == nullptr && !Options.Print) {
        const std::vector<const Code_Unit*> argv = Argv_Of(*Options.Arguments);
        int in_fd = Options.In_Fd;
        if (Options.Input != nullptr && in_fd < 0) {
            in_fd = Input_File(*Options.Input, Condition);
            if (in_fd < 0) return 0;
        }
        const long ran = Hst_Process::Run(argv.data(), nullptr, nullptr, Options.Pid, Status,
                                          Condition, in_fd, Options.Out_Fd, Options.Err_Fd,
                                          Options.Wait, nullptr, nullptr, 0, 1);
        if (in_fd != Options.In_Fd) close(in_fd);
        Close_Given(Options);
        return ran;
    }
    Hst_Child_Process child(*Options.Arguments, 0);
    Hst_Child_Start_Options start;
    start.In_Fd = Options.In_Fd;
    if (Options.Input != nullptr && start.In_Fd < 0) {
        start.In_Fd = Input_File(*Options.Input, Condition);
        if (start.In_Fd < 0) return 0;
    }
    start.Err_Fd = Options.Err_Fd;
    start.Err_Pipe = Options.Err_Fd < 0;
    child.Start(start);
    if (start.In_Fd != Options.In_Fd) close(start.In_Fd);
    Close_Given(Options);
    if (child.Failed()) {
        Condition = child.Get_Condition();
        return 0;
    }
    Fnd_Condition reading;
    Fnd_String line;
    bool first = true;
    while (child.Wait_For_Data(reading, 1)) {
        if (child.Get_Output_Line(line, reading)) {
            if (Options.Print) Tio_Out.Put_Line(line);
            if (Options.Output != nullptr) {
                if (!Options.Separate_Lines && !first) Options.Output->Append(u" ");
                Options.Output->Append(line);
                if (Options.Separate_Lines) Options.Output->Append(u"\n");
            }
            first = false;
        } else if (!child.Get_Error_Line(line, reading)) {
            break;
        }
    }
    child.Finish();
    Status = child.Get_Status();
    if (child.Failed()) {
        Condition = child.Get_Condition();
        return 0;
    }
    return 1;
}

// ---- Times

int64_t Utl_Pathname::Time_Value(const Fnd_String& Text) {
    const int64_t now = Hst_Timestamp::Current_Time().Seconds;
    if (Text.Is_Empty()) return now;
    if (Text == u"today") {
        long year, month, day, hour, minute, second, weekday, yearday;
        Hst_Timestamp(now).Split(year, month, day, hour, minute, second, weekday, yearday, 1);
        return Hst_Timestamp(year, month, day, 0, 0, 0).Seconds;
    }
    if (Text[0] == u'+') {
        // Hours, or hours ":" minutes, in digits; any other form adds nothing.
        long hours = 0, minutes = 0, i = 1;
        const long length = Text.Get_Length();
        auto Digits = [&](long& Value) {
            const long start = i;
            while (i < length && Text[i] >= u'0' && Text[i] <= u'9' && i - start < 9)
                Value = Value * 10 + (Text[i++] - u'0');
            return i > start;
        };
        if (!Digits(hours)) return now;
        if (i < length && Text[i] == u':') {
            ++i;
            if (!Digits(minutes)) return now;
        }
        if (i != length) return now;
        return now + hours * 3600 + minutes * 60;
    }
    Fnd_String format;
    Hst_Timestamp::Parse_Morvane_Time(Text, format);
    Hst_Timestamp time(now);
    (void)time.Set_Time(Text, format, 0, 1);
    // A time of day alone lies on today's date, not on the first day of 1970.
    const Fnd_String date_fields(u"YymdbeB");
    for (long i = 0; i + 1 < format.Get_Length(); ++i)
        if (format[i] == u'%' && date_fields.Find(format[i + 1]) >= 0) return time.Seconds;
    long year, month, day, hour, minute, second, weekday, yearday;
    long t_year, t_month, t_day;
    Hst_Timestamp(now).Split(year, month, day, hour, minute, second, weekday, yearday, 1);
    time.Split(t_year, t_month, t_day, hour, minute, second, weekday, yearday, 1);
    return Hst_Timestamp(year, month, day, hour, minute, second).Seconds;
}

// ---- Terminals of their own

long Utl_Pathname::Ensure_Terminal(Fnd_Condition& Condition, const Fnd_String& Title,
                                   Fnd_String& Tty, long& Pid, long& Number, Fnd_String& Name,
                                   long Decorate) {
    Condition.Clear();
    if (Has_Terminal()) {
        Tty.Make_Empty();
        Name.Make_Empty();
        Pid = 0;
        Number = 0;
        return 1;
    }
    return Redirect_To_Xterm(Condition, Title, Tty, Pid, Number, Name, 1, Decorate);
}

long Utl_Pathname::Redirect_To_Xterm(Fnd_Condition& Condition, const Fnd_String& Title,
                                     Fnd_String& Tty, long& Pid, long& Number, Fnd_String& Name,
                                     long Use_Stdin, long Decorate) {
    Condition.Clear();
    Fnd_String program = Hst_Switches::Get_Product_Arch_Bin_Dir();
    Append(program, Fnd_String(u"ztxterm"));
    Fnd_String title(Title);
    if (Decorate) {
        char host[256] = {};
        gethostname(host, sizeof host - 1);
        Fnd_String machine;
        (void)AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), host, machine,
                                       AdCharset::cvt_substitute);
        Fnd_String pid;
        pid.Format(u"%ld", static_cast<long>(getpid()));
        title = title + u" " + machine + u" " + pid;
    }
    Fnd_String temp;
    Get_Temp_Name(Fnd_String(u"xtrm"), temp);
    Fnd_String_Array arguments;
    arguments.Add(Hst_Switches::Xterm_Switch_Value());
    for (const Fnd_String& word : {Fnd_String(Hst_Opt_Table[4]), title, Fnd_String(Hst_Opt_Table[2]),
                                   program, temp})
        arguments.Add(word);
    Utl_Run_Options options;
    options.Arguments = &arguments;
    options.Wait = false;
    int status = 0;
    if (!Run_Command(Condition, status, options)) return 0;
    Pid = options.Pid;
    bool found = false;
    for (int second = 0; second < 60 && !(found = Is_File(temp)); ++second)
        Hst_Filesystem::Sleep(1);
    if (!found) {
        Condition = Utl_Text_Error(Fnd_String(u"Xterm process was not created"));
        return 0;
    }
    Fnd_String text;
    if (!Get_File_Contents(Condition, temp, text)) return 0;
    Fnd_Condition ignored;
    Hst_Filesystem::Delete_File(temp, ignored, 1);
    const std::vector<Fnd_String> lines = Lines_Of(text);
    Tty = lines.size() > 0 ? lines[0] : Fnd_String();
    Name = lines.size() > 1 ? lines[1] : Fnd_String();
    Number = 0;
    if (lines.size() > 2) {
        AdMbcsString digits;
        if (digits.cvtFromTchar(AdCharset::getDefaultCharset(), lines[2], AdCharset::cvt_stop))
            Number = strtol(digits.getData(), nullptr, 0);
    }
    return Redirect_Io(Condition, Tty, 1, Use_Stdin, 1, 1);
}

long Utl_Pathname::Redirect_Server_Output(Fnd_Condition& Condition, const Fnd_String& Target,
                                          const Fnd_String& Title) {
    Condition.Clear();
    if (Target.Is_Empty()) return 1;
    const long blank = Target.Find(u' ');
    if (Target[0] >= u'0' && Target[0] <= u'9' && blank > 0)
        return Redirect_Io(Condition, Target.Get(blank + 1, Target.Get_Length() - blank - 1), 1,
                           0, 1, 1);
    if (Target == u"xterm") {
        Fnd_String tty, name;
        long pid = 0, number = 0;
        return Redirect_To_Xterm(Condition, Title, tty, pid, number, name, 1, 1);
    }
    return Redirect_Io(Condition, Target, 0, 0, 1, 1);
}
