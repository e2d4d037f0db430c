// Hst_Child_Process: a handle on a child program whose standard streams are pipes, so
// that its output and error can be read by lines or blocks while it runs, and its input
// written. Copies of a handle share one child; the last copy to end finishes it.
//
//   Hst_Child_Process child(u"sort -r", 0);      // 0: Start does not wait for the end
//   child.Start(0, 0, 1, nullptr, nullptr);      // input by pipe, output and error by pipes
//   child.Put_Input_Block("b\na\n", 4, cond);
//   child.Put_Input_Eof();
//   Fnd_Condition cond;
//   Fnd_String line;
//   while (child.Wait_For_Data(cond, 1))
//       if (child.Get_Output_Line(line, cond)) ... else if (child.Get_Error_Line(line, cond)) ...
//   child.Finish();
//
// With Wait_For_Termination set (the default), Start returns only after the end of the
// child, so a child with much output must be started without waiting. A wait limit
// (Set_Wait_Limit) bounds every later wait for the end of the child: a child still
// running then is killed and reaped. Finish, Detach and the end of the last copy close
// every descriptor of the parent's side; Finish and the end also collect the child.
//
// Diagnostics under "CHILD_PROCESS" (id 50), bit 1.
#pragma once

#include <string>
#include <vector>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_object.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_array.h"
#include "foundation/host/hst_file_buffer.h"
#include "foundation/host/hst_process.h"
#include "ztcoreutil/adcharset.h"

// How Start connects the child. A descriptor other than -1 is used as it is; -1 means a
// new pipe when the matching flag is set, else the null device.
struct Hst_Child_Start_Options {
    const Code_Unit* Work_Dir = nullptr;  // null or empty: the parent's
    bool Merge_Error = false;             // standard error goes where standard output goes
    int In_Fd = -1;
    bool In_Pipe = false;
    int Out_Fd = -1;
    bool Out_Pipe = true;
    int Err_Fd = -1;
    bool Err_Pipe = true;
    Hst_Pre_Exec_Function Pre_Exec = nullptr;
    void* Pre_Exec_Data = nullptr;
    // Runs Function(Function_Data) in a forked child instead of the command.
    Hst_Child_Function Function = nullptr;
    void* Function_Data = nullptr;
};

class Hst_Child_Process_Data : public virtual Fnd_Object, public Fnd_Counted_Pointee {
    FND_OBJECT_MEMBERS(Hst_Child_Process_Data)
public:
    Hst_Child_Process_Data();
    ~Hst_Child_Process_Data() override;
    Hst_Child_Process_Data(const Hst_Child_Process_Data&) = delete;
    Hst_Child_Process_Data& operator=(const Hst_Child_Process_Data&) = delete;
    // The numbers, descriptors, condition, name and buffer pointers.
    long Is_Equal(const Fnd_Object& Other) const override;

    // The program and its arguments, ended by a null; null if there is none.
    const Code_Unit* const* Command() const {
        return Command_Pointers.empty() ? nullptr : Command_Pointers.data();
    }
    // Copies Argv (null-ended); an empty or null Argv gives no command.
    void Set_Command(const Code_Unit* const* Argv);

    long Executed = 0;
    long Wait_For_Termination = 1;
    long Output_Eof = 1;
    long Error_Eof = 1;
    long Input_Eof = 1;
    long Failed = 0;
    Fnd_Condition Condition;
    Fnd_String Name;
    long Process_Id = 0;
    int Status = 0;
    int Input_Pipe[2] = {-1, -1};
    int Output_Pipe[2] = {-1, -1};
    int Error_Pipe[2] = {-1, -1};
    Hst_File_Buffer* Output_Buffer = nullptr;
    Hst_File_Buffer* Error_Buffer = nullptr;
    AdCharset Charset;
    long Wait_Limit_Ms = Hst_Process::No_Wait_Limit;

private:
    // All strings of the command in one block, and the pointers into it.
    std::u16string Command_Text;
    std::vector<const Code_Unit*> Command_Pointers;
};

// A counted pointer to the data of a child.
class Hst_Child_Process_Data_Pointer : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Hst_Child_Process_Data_Pointer)
public:
    Hst_Child_Process_Data_Pointer();
    Hst_Child_Process_Data_Pointer(const Hst_Child_Process_Data_Pointer& Other);
    Hst_Child_Process_Data_Pointer& operator=(const Hst_Child_Process_Data_Pointer& Other);
    ~Hst_Child_Process_Data_Pointer() override;
    // The same data.
    long Is_Equal(const Fnd_Object& Other) const override;

    Hst_Child_Process_Data* operator->() const { return Data; }
    Hst_Child_Process_Data& operator*() const { return *Data; }
    Hst_Child_Process_Data* Get() const { return Data; }

private:
    void Release();
    Hst_Child_Process_Data* Data;
};

class Hst_Child_Process : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Hst_Child_Process)
public:
    Hst_Child_Process() = default;
    // Argv null-ended; an empty one gives no command.
    Hst_Child_Process(const Code_Unit* const* Argv, long Wait);
    // Null elements end the command.
    Hst_Child_Process(const Fnd_String_Array& Args, long Wait);
    // Splits Command at white space; a word that begins with a double quote runs on,
    // with single blanks, to a word that ends in one. The quotes stay.
    Hst_Child_Process(const Fnd_String& Command, long Wait);
    Hst_Child_Process(const Hst_Child_Process&) = default;
    Hst_Child_Process& operator=(const Hst_Child_Process&) = default;
    // The last copy finishes the child.
    ~Hst_Child_Process() override;
    // The same object, the same data, or data that compare equal.
    long Is_Equal(const Fnd_Object& Other) const override;

    void Set_New_Command(const Code_Unit* const* Argv);
    void Set_New_Command(const Fnd_String_Array& Args);
    void Set_Wait_For_Termination(long Wait) { Data->Wait_For_Termination = Wait; }
    // Bounds Wait, Finish and the wait of Start; a negative value: no bound.
    void Set_Wait_Limit(long Milliseconds) { Data->Wait_Limit_Ms = Milliseconds; }

    // Runs the child. Failures land in Get_Condition(); Failed() tells.
    void Start(const Hst_Child_Start_Options& Options);
    // Output and error by new pipes.
    void Start(const Code_Unit* Work_Dir, long Merge_Error, int In_Fd, long In_Pipe,
               Hst_Pre_Exec_Function Pre_Exec, void* Pre_Exec_Data);
    void Start(long Merge_Error, int In_Fd, long In_Pipe, Hst_Pre_Exec_Function Pre_Exec,
               void* Pre_Exec_Data);
    // Runs Function instead of a program.
    void Start(Hst_Child_Function Function, void* Function_Data, const Code_Unit* Work_Dir,
               long Merge_Error, int In_Fd, long In_Pipe);

    // Blocks until the child ends (within the wait limit).
    void Wait();
    // Closes the reading side and collects the child.
    void Finish();
    // Closes the reading side and forgets the child, which may run on.
    void Detach();
    // Whether the child has ended; does not block.
    [[nodiscard]] bool Terminated();
    // The exit status or signal once terminated, else 0.
    [[nodiscard]] int Get_Status();
    [[nodiscard]] Fnd_Condition Get_Condition();

    long Process_Id() const { return Data->Process_Id; }
    const Code_Unit* const* Command() const { return Data->Command(); }
    long Executed() const { return Data->Executed; }
    long Failed() const { return Data->Failed; }
    long Output_Eof() const { return Data->Output_Eof; }
    long Error_Eof() const { return Data->Error_Eof; }
    // The command as an array; the nil array if there is none.
    Fnd_String_Array Argv() const;

    // Block until something can be read; 1 if so.
    [[nodiscard]] long Wait_For_Output(Fnd_Condition& Condition, long By_Line);
    [[nodiscard]] long Wait_For_Error(Fnd_Condition& Condition, long By_Line);
    [[nodiscard]] long Wait_For_Data(Fnd_Condition& Condition, long By_Line);
    // 1 if Line got a line.
    [[nodiscard]] long Get_Output_Line(Fnd_String& Line, Fnd_Condition& Condition) {
        return Get_Line(true, Line, Condition);
    }
    [[nodiscard]] long Get_Error_Line(Fnd_String& Line, Fnd_Condition& Condition) {
        return Get_Line(false, Line, Condition);
    }
    // Up to Size bytes; the count.
    [[nodiscard]] long Get_Output_Block(char* Block, long Size, Fnd_Condition& Condition);
    [[nodiscard]] long Get_Error_Block(char* Block, long Size, Fnd_Condition& Condition);
    // One write to the child's input; a child that is gone gives EPIPE, never SIGPIPE.
    // The count written, or -1 with Hst_Sys_Call_Error 143 in Condition.
    [[nodiscard]] long Put_Input_Block(const char* Block, long Size, Fnd_Condition& Condition);
    void Put_Input_Eof();

private:
    // One side of the child's output: which fields of the data it uses.
    struct Side;
    Side Output_Side() const;
    Side Error_Side() const;
    long Wait_For(const Side& S, Fnd_Condition& Condition, long By_Line);
    long Process_Data_Status(const Side& S, int Status);
    // A line comes by the million: its way is inline in the caller and reads the two
    // fields it needs; the side is made only for what a line that did not come asks for.
    long Get_Line(bool Output, Fnd_String& Line, Fnd_Condition& Condition) {
        const Hst_Child_Process_Data& d = *Data;
        if (Output ? d.Output_Eof : d.Error_Eof) return No_Line(Condition);
        // The buffer clears Condition on every way through.
        Hst_File_Buffer& buffer = *(Output ? d.Output_Buffer : d.Error_Buffer);
        const Hst_File_Buffer::Read_Status status = buffer.Get_Line(d.Charset, Line, Condition);
        if (status == Hst_File_Buffer::Read_Ok) [[likely]]
            return 1;
        return Line_Not_Read(Output, status, Condition);
    }
    static long No_Line(Fnd_Condition& Condition);
    long Line_Not_Read(bool Output, int Status, Fnd_Condition& Condition);
    long Get_Block(const Side& S, char* Block, long Size, Fnd_Condition& Condition);
    void Close_Side(const Side& S);
    void Close_Reading();
    void Collect(bool Blocking);

    Hst_Child_Process_Data_Pointer Data;
};
