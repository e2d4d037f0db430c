#include "foundation/host/hst_child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "foundation/base/fnd_base_errors.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_file_buffer.h"
#include "foundation/host/hst_process_detail.h"
#include "ztcoreutil/addiagnostic.h"

namespace {

constexpr long Child_Process_Diagnostic = AdDiag_CHILD_PROCESS;
constexpr long Pipe_Buffer_Capacity = 65536;
// The size asked for the output pipe. The writer blocks when the pipe is full and the
// reader when it is empty: with both on one processor each turn costs two context
// switches, and the system's 64 KiB pipe makes a turn every 64 KiB. The output buffer
// reads as much as the pipe holds, so a turn takes one read. 256 KiB read as fast as
// 1 MiB here (pipe and buffer still fit the processor's cache) and take a quarter of
// the user's pipe memory, which the system limits.
constexpr int Output_Pipe_Size = 256 * 1024;

void Diagnose(const Code_Unit* Label, const Fnd_String& Text) {
    if (AdDiagnostic::m_DiagnosticFlags[Child_Process_Diagnostic] != 0 &&
        AdDiagnostic::IsEnabled(Child_Process_Diagnostic, 1, 1))
        AdDiagnostic::Report(Label, Text.Data());
}

void Close_Fd(int& Fd) {
    if (Fd >= 0) ::close(Fd);
    Fd = -1;
}

// The null device for the child, close-on-exec in the parent.
int Open_Null(int Flags, Fnd_Condition& Condition) {
    int fd;
    do {
        fd = ::open("/dev/null", Flags | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(2, errno, Fnd_String(u"/dev/null"), Fnd_String::Null,
                                               Hst_Filesystem::Hst_Open_None),
                            1);
        Condition.Push_Error(Hst_Process_Error(4, 0, Fnd_String::Null), 1);
    }
    return fd;
}

// Asks for a larger pipe behind Fd; its size after, which stays the old one when the
// system refuses (the user's pipes already hold as much memory as allowed). The pipe
// keeps its data and order either way.
long Enlarge_Pipe(int Fd) {
#if defined(F_SETPIPE_SZ) && defined(F_GETPIPE_SZ)
    (void)::fcntl(Fd, F_SETPIPE_SZ, Output_Pipe_Size);
    const int size = ::fcntl(Fd, F_GETPIPE_SZ);
    if (size > 0) return size;
#else
    (void)Fd;
#endif
    return Pipe_Buffer_Capacity;
}

// One write with SIGPIPE held back, so that a reader that is gone gives EPIPE to this
// call instead of ending the process; a SIGPIPE raised here is taken off again.
ssize_t Write_Without_Sigpipe(int Fd, const char* Block, size_t Size) {
    sigset_t pipe_only, old;
    sigemptyset(&pipe_only);
    sigaddset(&pipe_only, SIGPIPE);
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    const bool was_pending = sigismember(&pending, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_only, &old);
    ssize_t written;
    do {
        written = ::write(Fd, Block, Size);
    } while (written < 0 && errno == EINTR);
    const int error = errno;
    if (written < 0 && error == EPIPE && !was_pending) {
        const timespec no_wait = {0, 0};
        while (sigtimedwait(&pipe_only, nullptr, &no_wait) < 0 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    errno = error;
    return written;
}

// Splits a command line at white space; a word that begins with a double quote runs
// on, joined by single blanks, to a word that ends in one.
std::vector<Fnd_String> Split_Command(const Fnd_String& Command) {
    std::vector<Fnd_String> words;
    const Code_Unit* p = Command.Data();
    const Code_Unit* end = p + Command.Get_Length();
    auto is_space = [](Code_Unit U) { return U == u' ' || U == u'\t' || U == u'\n' || U == u'\r'; };
    bool in_quote = false;
    while (p < end) {
        while (p < end && is_space(*p)) ++p;
        if (p == end) break;
        const Code_Unit* start = p;
        while (p < end && !is_space(*p)) ++p;
        Fnd_String word(start, static_cast<long>(p - start));
        if (in_quote) {
            words.back().Append(u" ");
            words.back().Append(word);
        } else {
            words.push_back(word);
            in_quote = word[0] == u'"' && !(word.Get_Length() > 1 && word[word.Get_Length() - 1] == u'"');
            continue;
        }
        if (word[word.Get_Length() - 1] == u'"') in_quote = false;
    }
    return words;
}

}  // namespace

// ---- Hst_Child_Process_Data

Hst_Child_Process_Data::Hst_Child_Process_Data() : Charset(AdCharset::getDefaultCharset()) {}

Hst_Child_Process_Data::~Hst_Child_Process_Data() {
    delete Output_Buffer;
    delete Error_Buffer;
    for (int* pipe : {Input_Pipe, Output_Pipe, Error_Pipe}) {
        Close_Fd(pipe[0]);
        Close_Fd(pipe[1]);
    }
}

long Hst_Child_Process_Data::Is_Equal(const Fnd_Object& Other_Object) const {
    const Hst_Child_Process_Data& other = *Convert(&Other_Object);
    auto same_pipe = [](const int* A, const int* B) { return A[0] == B[0] && A[1] == B[1]; };
    return Executed == other.Executed && Wait_For_Termination == other.Wait_For_Termination &&
           Output_Eof == other.Output_Eof && Error_Eof == other.Error_Eof &&
           Input_Eof == other.Input_Eof && Failed == other.Failed &&
           Process_Id == other.Process_Id && Status == other.Status &&
           same_pipe(Input_Pipe, other.Input_Pipe) && same_pipe(Output_Pipe, other.Output_Pipe) &&
           same_pipe(Error_Pipe, other.Error_Pipe) && Output_Buffer == other.Output_Buffer &&
           Error_Buffer == other.Error_Buffer && Name == other.Name &&
           Condition.Is_Equal(other.Condition);
}

void Hst_Child_Process_Data::Set_Command(const Code_Unit* const* Argv) {
    Command_Text.clear();
    Command_Pointers.clear();
    if (!Argv || !Argv[0]) return;
    std::vector<size_t> starts;
    for (long i = 0; Argv[i]; ++i) {
        starts.push_back(Command_Text.size());
        Command_Text.append(Argv[i]);
        Command_Text.push_back(0);
    }
    for (size_t start : starts) Command_Pointers.push_back(Command_Text.data() + start);
    Command_Pointers.push_back(nullptr);
}

// ---- Hst_Child_Process_Data_Pointer

Hst_Child_Process_Data_Pointer::Hst_Child_Process_Data_Pointer() : Data(new Hst_Child_Process_Data) {
    Data->Add_Reference();
}

Hst_Child_Process_Data_Pointer::Hst_Child_Process_Data_Pointer(
    const Hst_Child_Process_Data_Pointer& Other)
    : Fnd_Object(Other), Data(Other.Data) {
    Data->Add_Reference();
}

Hst_Child_Process_Data_Pointer& Hst_Child_Process_Data_Pointer::operator=(
    const Hst_Child_Process_Data_Pointer& Other) {
    if (Data != Other.Data) {
        Other.Data->Add_Reference();
        Release();
        Data = Other.Data;
    }
    return *this;
}

Hst_Child_Process_Data_Pointer::~Hst_Child_Process_Data_Pointer() { Release(); }

void Hst_Child_Process_Data_Pointer::Release() {
    if (Data && Data->Drop_Reference() == 0) delete Data;
    Data = nullptr;
}

long Hst_Child_Process_Data_Pointer::Is_Equal(const Fnd_Object& Other) const {
    return Data == Convert(&Other)->Data;
}

// ---- Hst_Child_Process

struct Hst_Child_Process::Side {
    long* Eof;
    int* Pipe;
    Hst_File_Buffer** Buffer;
};

Hst_Child_Process::Side Hst_Child_Process::Output_Side() const {
    return {&Data->Output_Eof, Data->Output_Pipe, &Data->Output_Buffer};
}

Hst_Child_Process::Side Hst_Child_Process::Error_Side() const {
    return {&Data->Error_Eof, Data->Error_Pipe, &Data->Error_Buffer};
}

Hst_Child_Process::Hst_Child_Process(const Code_Unit* const* Argv, long Wait) {
    Data->Set_Command(Argv);
    Data->Wait_For_Termination = Wait;
}

namespace {

// The texts of Args up to the first null element, ended by a null.
std::vector<const Code_Unit*> Pointers_Of(const Fnd_String_Array& Args) {
    std::vector<const Code_Unit*> argv;
    for (long i = Args.Get_First(); i <= Args.Get_Last() && Args.Get(i); ++i)
        argv.push_back(Args.Get(i)->Data());
    argv.push_back(nullptr);
    return argv;
}

}  // namespace

Hst_Child_Process::Hst_Child_Process(const Fnd_String_Array& Args, long Wait) {
    Data->Set_Command(Pointers_Of(Args).data());
    Data->Wait_For_Termination = Wait;
}

void Hst_Child_Process::Set_New_Command(const Fnd_String_Array& Args) {
    Set_New_Command(Pointers_Of(Args).data());
}

Fnd_String_Array Hst_Child_Process::Argv() const {
    const Code_Unit* const* command = Data->Command();
    if (!command) return Fnd_String_Array::Nil();
    Fnd_String_Array args;
    for (long i = 0; command[i]; ++i) args.Add(Fnd_String(command[i]));
    args.Set_Temporary(1);
    return args;
}

Hst_Child_Process::Hst_Child_Process(const Fnd_String& Command, long Wait) {
    const std::vector<Fnd_String> words = Split_Command(Command);
    std::vector<const Code_Unit*> argv;
    for (const Fnd_String& word : words) argv.push_back(word.Data());
    argv.push_back(nullptr);
    Data->Set_Command(argv.data());
    Data->Wait_For_Termination = Wait;
}

Hst_Child_Process::~Hst_Child_Process() {
    if (Data->Reference_Count == 1) Finish();
}

long Hst_Child_Process::Is_Equal(const Fnd_Object& Other_Object) const {
    const Hst_Child_Process& other = *Convert(&Other_Object);
    return this == &other || Data.Get() == other.Data.Get() || Data->Is_Equal(*other.Data);
}

void Hst_Child_Process::Set_New_Command(const Code_Unit* const* Argv) {
    Data->Set_Command(Argv);
    Data->Executed = 0;
}

void Hst_Child_Process::Close_Side(const Side& S) {
    *S.Eof = 1;
    Close_Fd(S.Pipe[0]);
    Close_Fd(S.Pipe[1]);
    delete *S.Buffer;
    *S.Buffer = nullptr;
}

void Hst_Child_Process::Close_Reading() {
    Close_Side(Output_Side());
    Close_Side(Error_Side());
    Close_Fd(Data->Input_Pipe[0]);
    Close_Fd(Data->Input_Pipe[1]);
}

// Collects the child: without Blocking only if it has ended already.
void Hst_Child_Process::Collect(bool Blocking) {
    if (Data->Process_Id == 0) return;
    int status = 0, signaled = 0, error = 0;
    hst_process_detail::Child_End end;
    if (Blocking) {
        end = hst_process_detail::Wait_For_Child(static_cast<pid_t>(Data->Process_Id),
                                                 Data->Wait_Limit_Ms, status, signaled, error);
    } else {
        long pid = Data->Process_Id;
        if (hst_process_detail::Finished(pid, WNOHANG, status, signaled, error))
            end = hst_process_detail::Child_Ended;
        else if (error == 0)
            return;  // still running
        else
            end = hst_process_detail::Child_Wait_Failed;
    }
    if (end == hst_process_detail::Child_Wait_Failed && error == ECHILD) {
        // The system reaped it already (the host ignores SIGCHLD): it has ended.
        end = hst_process_detail::Child_Ended;
        status = 0;
        signaled = 0;
    }
    if (end == hst_process_detail::Child_Ended) {
        Data->Status = status;
        if (signaled) {
            Data->Failed = 1;
            Data->Condition.Add(Hst_Process_Error(2, status, Fnd_String::Null), 0);
        }
    } else {
        Data->Condition.Add(Hst_Sys_Call_Error(163, error, Data->Process_Id, 0), 0);
    }
    Diagnose(u"Hst_Child_Process::Wait", AdDiagnostic::Join_With_Space(u"Status:", static_cast<long>(Data->Status)));
    Data->Process_Id = 0;
}

void Hst_Child_Process::Start(const Hst_Child_Start_Options& Options) {
    Hst_Child_Process_Data& d = *Data;
    Close_Side(Output_Side());
    Close_Side(Error_Side());
    Close_Fd(d.Input_Pipe[0]);
    Close_Fd(d.Input_Pipe[1]);
    if (d.Process_Id) {
        Collect(false);
        if (d.Process_Id) Collect(true);
    }
    d.Executed = 1;
    d.Failed = 1;
    d.Condition.Clear();
    d.Status = 0;
    if (!Options.Function && !d.Command()) {
        d.Condition.Set_Error(Hst_Process_Error(1, 0, Fnd_String::Null), 1);
        return;
    }
    const Code_Unit* work_dir = Options.Work_Dir && Options.Work_Dir[0] ? Options.Work_Dir : nullptr;

    // The child's three descriptors, and what of them the parent must close again.
    int in = Options.In_Fd, out = Options.Out_Fd, err = Options.Err_Fd;
    int null_in = -1, null_out = -1, null_err = -1;
    long output_capacity = Pipe_Buffer_Capacity;
    auto fail = [&] {
        for (int* pipe : {d.Input_Pipe, d.Output_Pipe, d.Error_Pipe}) {
            Close_Fd(pipe[0]);
            Close_Fd(pipe[1]);
        }
        Close_Fd(null_in);
        Close_Fd(null_out);
        Close_Fd(null_err);
    };
    Fnd_Condition& cond = d.Condition;
    if (in != -1) {
        if (!Hst_Process::Set_Exec(in, cond)) return fail();
    } else if (Options.In_Pipe) {
        if (!Hst_Process::Create_Pipe(d.Input_Pipe, cond)) return fail();
        in = d.Input_Pipe[0];
    } else if ((in = null_in = Open_Null(O_RDONLY, cond)) < 0) {
        return fail();
    }
    if (out != -1) {
        if (!Hst_Process::Set_Exec(out, cond)) return fail();
    } else if (Options.Out_Pipe) {
        if (!Hst_Process::Create_Pipe(d.Output_Pipe, cond)) return fail();
        out = d.Output_Pipe[1];
        output_capacity = std::max(Enlarge_Pipe(out), Pipe_Buffer_Capacity);
    } else if ((out = null_out = Open_Null(O_WRONLY, cond)) < 0) {
        return fail();
    }
    const bool err_like_out = Options.Merge_Error ||
                              (err == -1 && !Options.Err_Pipe && Options.Out_Fd == -1 && !Options.Out_Pipe);
    if (err_like_out) {
        err = out;
    } else if (err != -1) {
        if (!Hst_Process::Set_Exec(err, cond)) return fail();
    } else if (Options.Err_Pipe) {
        if (!Hst_Process::Create_Pipe(d.Error_Pipe, cond)) return fail();
        err = d.Error_Pipe[1];
    } else if ((err = null_err = Open_Null(O_WRONLY, cond)) < 0) {
        return fail();
    }

    long started;
    if (Options.Function) {
        int status = 0;
        started = Hst_Process::Call(Options.Function, Options.Function_Data, status, d.Process_Id,
                                    cond, in, out, err, 0, 0, d.Wait_For_Termination,
                                    d.Wait_Limit_Ms);
        d.Status = status;
    } else {
        // vfork whenever it can be used: the failure of exec then reaches Condition
        // at once, also for a child that is not waited for.
        started = Hst_Process::Run(d.Command(), nullptr, work_dir, d.Process_Id, d.Status, cond,
                                   in, out, err, d.Wait_For_Termination, Options.Pre_Exec,
                                   Options.Pre_Exec_Data, 0, 1, d.Wait_Limit_Ms);
    }
    if (!started) {
        if (d.Process_Id) Collect(true);
        return fail();
    }
    d.Name = Options.Function ? Fnd_String::Null : Fnd_String(d.Command()[0]);
    d.Failed = 0;
    Diagnose(u"Hst_Child_Process::Start", AdDiagnostic::Join_With_Space(d.Name, d.Process_Id));

    auto keep_read_end = [&](const Side& S, long Capacity) {
        Close_Fd(S.Pipe[1]);
        ::fcntl(S.Pipe[0], F_SETFL, ::fcntl(S.Pipe[0], F_GETFL) | O_NONBLOCK);
        *S.Buffer = new Hst_File_Buffer(S.Pipe[0], Capacity);
        *S.Eof = 0;
    };
    if (d.Output_Pipe[0] >= 0) keep_read_end(Output_Side(), output_capacity);
    Close_Fd(null_out);
    if (d.Error_Pipe[0] >= 0) keep_read_end(Error_Side(), Pipe_Buffer_Capacity);
    Close_Fd(null_err);
    Close_Fd(d.Input_Pipe[0]);
    Close_Fd(null_in);
}

void Hst_Child_Process::Start(const Code_Unit* Work_Dir, long Merge_Error, int In_Fd, long In_Pipe,
                              Hst_Pre_Exec_Function Pre_Exec, void* Pre_Exec_Data) {
    Hst_Child_Start_Options options;
    options.Work_Dir = Work_Dir;
    options.Merge_Error = Merge_Error != 0;
    options.In_Fd = In_Fd;
    options.In_Pipe = In_Pipe != 0;
    options.Pre_Exec = Pre_Exec;
    options.Pre_Exec_Data = Pre_Exec_Data;
    Start(options);
}

void Hst_Child_Process::Start(long Merge_Error, int In_Fd, long In_Pipe,
                              Hst_Pre_Exec_Function Pre_Exec, void* Pre_Exec_Data) {
    Start(nullptr, Merge_Error, In_Fd, In_Pipe, Pre_Exec, Pre_Exec_Data);
}

void Hst_Child_Process::Start(Hst_Child_Function Function, void* Function_Data,
                              const Code_Unit* Work_Dir, long Merge_Error, int In_Fd,
                              long In_Pipe) {
    Hst_Child_Start_Options options;
    options.Work_Dir = Work_Dir;
    options.Merge_Error = Merge_Error != 0;
    options.In_Fd = In_Fd;
    options.In_Pipe = In_Pipe != 0;
    options.Function = Function;
    options.Function_Data = Function_Data;
    Start(options);
}

void Hst_Child_Process::Wait() { Collect(true); }

bool Hst_Child_Process::Terminated() {
    Collect(false);
    return Data->Process_Id == 0;
}

int Hst_Child_Process::Get_Status() { return Terminated() ? Data->Status : 0; }

Fnd_Condition Hst_Child_Process::Get_Condition() {
    if (Data->Condition.Is_Generic(0, 1))
        Data->Condition.Push_Error(Hst_Process_Error(5, 0, Data->Name), 1);
    return Data->Condition;
}

void Hst_Child_Process::Finish() {
    Close_Reading();
    if (Data->Process_Id) {
        Collect(false);
        if (Data->Process_Id) Collect(true);
    }
}

void Hst_Child_Process::Detach() {
    Close_Reading();
    if (!Terminated()) {
        Data->Condition.Set_Error(Hst_Process_Error(6, Data->Process_Id, Data->Name), 1);
        Data->Process_Id = 0;
    }
}

long Hst_Child_Process::Process_Data_Status(const Side& S, int Status) {
    switch (Status) {
    case Hst_File_Buffer::Read_Ok:
        return 1;
    case Hst_File_Buffer::Read_Error:
        Data->Failed = 1;
        Close_Side(S);
        return 0;
    case Hst_File_Buffer::Read_Eof:
        Close_Side(S);
        return 0;
    default:
        return 0;
    }
}

long Hst_Child_Process::Wait_For(const Side& S, Fnd_Condition& Condition, long By_Line) {
    Condition.Clear();
    for (;;) {
        if (*S.Eof) return 0;
        Hst_File_Buffer& buffer = **S.Buffer;
        if (buffer.Have_Data(By_Line != 0)) return 1;
        const int fds[2] = {buffer.Get_Fd(), 0};
        Hst_File_Buffer::Read_Status status;
        if (Hst_File_Buffer::Block_Until_Is_Readable(fds) < 0) {
            Condition.Set_Error(Hst_Sys_Call_Error(141, errno), 1);
            Condition.Push_Error(Hst_Process_Error(3, 0, Fnd_String::Null), 1);
            status = Hst_File_Buffer::Read_Error;
        } else {
            status = buffer.Data_Status(By_Line != 0, Condition);
        }
        if (Condition.Failed()) Data->Condition.Add(Condition, 0, 0);
        const long result = Process_Data_Status(S, status);
        if (result || !By_Line) return result;
    }
}

long Hst_Child_Process::Wait_For_Output(Fnd_Condition& Condition, long By_Line) {
    return Wait_For(Output_Side(), Condition, By_Line);
}

long Hst_Child_Process::Wait_For_Error(Fnd_Condition& Condition, long By_Line) {
    return Wait_For(Error_Side(), Condition, By_Line);
}

long Hst_Child_Process::Wait_For_Data(Fnd_Condition& Condition, long By_Line) {
    Condition.Clear();
    Hst_Child_Process_Data& d = *Data;
    for (;;) {
        if (d.Output_Eof && d.Error_Eof) return 0;
        if (d.Output_Eof) return Wait_For_Error(Condition, By_Line);
        if (d.Error_Eof) return Wait_For_Output(Condition, By_Line);
        if (d.Error_Buffer->Have_Data(By_Line != 0) || d.Output_Buffer->Have_Data(By_Line != 0))
            return 1;
        const int fds[3] = {d.Output_Buffer->Get_Fd(), d.Error_Buffer->Get_Fd(), 0};
        const long ready = Hst_File_Buffer::Block_Until_Is_Readable(fds);
        if (ready < 0) {
            Condition.Set_Error(Hst_Sys_Call_Error(141, errno), 1);
            Condition.Push_Error(Hst_Process_Error(3, 0, Fnd_String::Null), 1);
            Close_Side(Output_Side());
            Close_Side(Error_Side());
            d.Condition.Add(Condition, 0, 0);
            d.Failed = 1;
            return 0;
        }
        // One read on the ready side; a partial line sends us round to wait again.
        const Side side = ready == 0 ? Output_Side() : Error_Side();
        const Hst_File_Buffer::Read_Status status = (*side.Buffer)->Data_Status(By_Line != 0, Condition);
        if (Condition.Failed()) {
            d.Condition.Add(Condition, 0, 0);
            Process_Data_Status(side, status);
            return 0;
        }
        if (Process_Data_Status(side, status)) return 1;
    }
}

long Hst_Child_Process::No_Line(Fnd_Condition& Condition) {
    Condition.Clear();
    return 0;
}

long Hst_Child_Process::Line_Not_Read(bool Output, int Status, Fnd_Condition& Condition) {
    if (Condition.Failed()) Data->Condition.Add(Condition, 0, 0);
    return Process_Data_Status(Output ? Output_Side() : Error_Side(), Status);
}

long Hst_Child_Process::Get_Block(const Side& S, char* Block, long Size, Fnd_Condition& Condition) {
    Condition.Clear();
    if (*S.Eof || !Block || Size <= 0) return 0;
    const Hst_File_Buffer::Read_Status status = (*S.Buffer)->Get_Block(Block, Size, Condition);
    if (status == Hst_File_Buffer::Read_Ok) return Size;
    if (Condition.Failed()) Data->Condition.Add(Condition, 0, 0);
    Process_Data_Status(S, status);
    return 0;
}

long Hst_Child_Process::Get_Output_Block(char* Block, long Size, Fnd_Condition& Condition) {
    return Get_Block(Output_Side(), Block, Size, Condition);
}

long Hst_Child_Process::Get_Error_Block(char* Block, long Size, Fnd_Condition& Condition) {
    return Get_Block(Error_Side(), Block, Size, Condition);
}

long Hst_Child_Process::Put_Input_Block(const char* Block, long Size, Fnd_Condition& Condition) {
    if (Data->Input_Pipe[1] < 0 || !Block || Size < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(143, EBADF, Size, 0), 1);
        return -1;
    }
    const ssize_t written = Write_Without_Sigpipe(Data->Input_Pipe[1], Block, static_cast<size_t>(Size));
    if (written < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(143, errno, Size, 0), 1);
        return -1;
    }
    Condition.Clear();
    return static_cast<long>(written);
}

void Hst_Child_Process::Put_Input_Eof() { Close_Fd(Data->Input_Pipe[1]); }
