// Utl_Pathname: static operations on path names held in Fnd_String. Paths use "/",
// path lists ":". Four groups: string work on names; questions about the file a name
// stands for, each answered without a condition (0 for anything that goes wrong);
// finding the product's files along search paths taken from switches; and temporary
// files, directory listings and file contents.
#pragma once

#include <cstdint>

#include "foundation/base/fnd_code_unit.h"

class Fnd_Condition;
class Fnd_String;
class Fnd_String_Array;

// What Run_Command runs and where its streams go.
struct Utl_Run_Options {
    const Fnd_String_Array* Arguments = nullptr;  // the program first
    const Fnd_String* Input = nullptr;            // written to the child, then end of file
    int In_Fd = -1;                               // -1: the null device (or the input pipe)
    int Out_Fd = -1;                              // -1: inherited, or a pipe when captured
    int Err_Fd = -1;
    Fnd_String* Output = nullptr;                 // the child's output is appended here,
    bool Separate_Lines = true;                   // each line ended by a newline, else
                                                  // joined by blanks
    bool Print = false;                           // each output line goes to Tio_Out
    bool Wait = true;                             // without capture: wait for the end
    long Pid = 0;                                 // out: the child's when not waited for
};

class Utl_Pathname {
public:
    Utl_Pathname() = delete;

    // From level 2 the file tests print a line on the output stream.
    static void Set_Trace(long Level);

    // ---- String work
    // Scans back from the second-to-last character for "/", Levels times. Found at
    // index 0: "/"; found later: the text before it; not found: empty.
    static void Dirname(const Fnd_String& Path, Fnd_String& Dir, long Levels = 1);
    // The text behind the last "/" that isn't the final character (so a trailing "/"
    // stays); the whole path without one.
    static void Basename(const Fnd_String& Path, Fnd_String& Name);
    // The index of the last "." behind the last "/"; else -1.
    [[nodiscard]] static long Extension_Pos(const Fnd_String& Path);
    static void Extension(const Fnd_String& Path, Fnd_String& Text);
    static void Unextended(Fnd_String& Path);
    static void Unextended(const Fnd_String& Path, Fnd_String& Text);
    static void Add_Extension(Fnd_String& Path, const Fnd_String& Extension);
    // Splits at the Count-th Separator, one at index 0 not counted; with fewer, the
    // whole path in Head and an empty Tail.
    static void Split_Head(const Fnd_String& Path, Fnd_String& Head, Fnd_String& Tail,
                           long Count = 1, char16_t Separator = u'/');
    [[nodiscard]] static long Is_Qualified(const Fnd_String& Path);
    [[nodiscard]] static long Is_Simple_Name(const Fnd_String& Path);
    // An empty element changes nothing; a "/" goes between unless Path is empty or
    // ends in one.
    static void Append(Fnd_String& Path, const Fnd_String& Element);
    static void Combine(const Fnd_String& Dir, const Fnd_String& Element, Fnd_String& Path);
    // Splits at ":" and drops empty items; Array is emptied first unless Append.
    static void Split_Path_List(const Fnd_String& List, Fnd_String_Array& Array,
                                long Append = 0);

    // ---- Tests on files
    [[nodiscard]] static long Exists(const Fnd_String& Path);
    [[nodiscard]] static long Is_File(const Fnd_String& Path);
    [[nodiscard]] static long Is_Directory(const Fnd_String& Path);
    [[nodiscard]] static long Is_Executable(const Fnd_String& Path);
    [[nodiscard]] static long Is_Writable(const Fnd_String& Path);
    [[nodiscard]] static long Is_Readable(const Fnd_String& Path);
    [[nodiscard]] static long Is_Link(const Fnd_String& Path);
    // The link's own size and modification time (seconds); 0 on failure.
    [[nodiscard]] static int64_t Byte_Size(const Fnd_String& Path);
    [[nodiscard]] static int64_t Update_Time(const Fnd_String& Path);

    // ---- Working directory and names
    static void Working_Directory(Fnd_String& Dir);
    static const Fnd_String& Working_Directory();
    // 1 on success.
    [[nodiscard]] static long Change_Directory(const Fnd_String& Path);
    // Copies Path: nothing is resolved on this platform.
    static void Realpath(const Fnd_String& Path, Fnd_String& Result);
    // Full name of Name against Dir (the working directory when empty): "~" and
    // "~user" forms, ".", ".." and "./" at the start; a ".." later is not touched.
    static void Qualify_Name(const Fnd_String& Name, Fnd_String& Full, const Fnd_String& Dir);
    // A name without "/" is searched along PATH (executable if Must_Execute, else
    // existing); 0 if not found. A name with "/" is qualified against Dir, 1.
    [[nodiscard]] static long Program_Pathname(const Fnd_String& Dir, const Fnd_String& Name,
                                               Fnd_String& Path, long Must_Execute);

    // ---- The product's home and files
    // The home of an installed program: the marker file ".<HOME switch>" beside it, or
    // the layout home/<arch>/bin, following one symbolic link. 1 when found.
    [[nodiscard]] static long Compute_Home(const Fnd_String& Program, Fnd_String& Home);
    // The first line, stripped, of a file under the product home; 0 if none.
    [[nodiscard]] static long Product_File_Line(const Fnd_String& Name, Fnd_String& Line);
    // Adds the lines that are not empty after stripping and don't start with "#";
    // 1 if it added any.
    [[nodiscard]] static long Product_File_Lines(const Fnd_String& Name,
                                                 Fnd_String_Array& Array);
    // The LOCAL_DIRS switch, the product file ".local_dirs", and "Local_Dir" two levels
    // above the home if that is a directory. 1 if any was added.
    [[nodiscard]] static long Get_Local_Dirs(Fnd_String_Array& Array);

    // ---- Search paths
    static void Add_Other_Dirs_To_Path(Fnd_String_Array& Array, Fnd_String& List,
                                       const Fnd_String& Word);
    // Home, local directories, the Word's switch and product file, user directory,
    // each with the product directory Dir_Id appended (and the arch form if With_Arch).
    // A null Word skips the third step.
    static void Default_Path(Fnd_String_Array& Array, Fnd_String& List, long Dir_Id,
                             const Code_Unit* Word, long With_Arch);
    static void Default_Path(Fnd_String& List, const Fnd_String& Relative,
                             const Code_Unit* Word);
    static void Default_Path(Fnd_String_Array& Array, Fnd_String& List,
                             const Fnd_String& Relative, const Code_Unit* Word);
    // The switch split, or the default path built once and stored in the switch.
    static void Get_Ui_Path(Fnd_String_Array& Array);
    static void Get_Script_Path(Fnd_String_Array& Array);
    static void Get_Tool_Path(Fnd_String_Array& Array);

    // Keeps each directory of Array with Name appended if that is an existing
    // non-directory, deletes it otherwise; with First_Only stops at the first hit and
    // deletes all behind it. An empty Name keeps all.
    static void Process_Path(Fnd_String_Array& Array, const Fnd_String& Name, long First_Only,
                             long From_End);
    static void Get_Path_Files(Fnd_String_Array& Array, const Fnd_String& Name,
                               const Fnd_String& List, long First_Only, long From_End);
    // 1 and the file for a hit; 0 and File empty otherwise.
    [[nodiscard]] static long Get_Path_File(Fnd_String& File, const Fnd_String& Name,
                                            const Fnd_String& List, long From_End);
    static void Get_Ui_Files(Fnd_String_Array& Array, const Fnd_String& Name, long From_End);
    static void Get_Script_Files(Fnd_String_Array& Array, const Fnd_String& Name,
                                 long From_End);
    static void Get_Tool_Files(Fnd_String_Array& Array, const Fnd_String& Name,
                               long From_End);
    // Name becomes the first hit; 0 and Name unchanged without one.
    [[nodiscard]] static long Get_Ui_File(Fnd_String& Name, long From_End);
    [[nodiscard]] static long Get_Script_File(Fnd_String& Name, long From_End);
    [[nodiscard]] static long Get_Tool_File(Fnd_String& Name, long From_End);

    // ---- Directories and files
    // Every name in Dir (qualified), "." and ".." included, added to Array.
    static void Directory_Entries(Fnd_Condition& Condition, const Fnd_String& Dir,
                                  Fnd_String_Array& Array);
    // Makes all missing directories of Path; stops at the first failure with the
    // condition set, else clears it.
    static void Create_Path(Fnd_Condition& Condition, const Fnd_String& Path);
    // Appends the file's text (default charset) to Text; Size -1 takes the size from
    // the file. 1 on success; else 0 with "Can't open <file>" or "Can't read <file>".
    [[nodiscard]] static long Get_File_Contents(Fnd_Condition& Condition, const Fnd_String& File,
                                                Fnd_String& Text, int64_t Size = -1);

    // ---- Temporary files
    // The user directory's "tmp", made if missing; else /usr/tmp/<user> or /usr/tmp.
    static void Get_Temp_Dir(Fnd_String& Dir);
    // A name for a new file in the temporary directory, or in Directory if it is not
    // empty. Failures are dropped: Name may be empty.
    static void Get_Temp_Name(const Fnd_String& Prefix, Fnd_String& Name);
    static void Get_Temp_Name(const Fnd_String& Prefix, Fnd_String& Name,
                              const Fnd_String& Directory);
    // Records a file to delete; Delete_Temp_Files deletes them all, failures dropped,
    // and keeps the record.
    static void Add_Temp_File_To_Delete_Set(const Fnd_String& Name);
    static void Delete_Temp_Files();

    // ---- Expansion
    // The expansion of Pattern as the shell would make it ("~", "$", "*", "?", "[")
    // for a pattern that holds one of those or "{"; other text is copied. No shell runs:
    // the expansion is wordexp(3) with command substitution refused, so a user's text
    // can never run as a command. Words are joined by a blank. A pattern that isn't
    // a plain word (";", "|", "&", "<", ">", parentheses, braces, a newline, or "$(",
    // "`") fails with "Can't expand <pattern>".
    static void Expand(Fnd_Condition& Condition, const Fnd_String& Pattern, Fnd_String& Text,
                       const Fnd_String& Dir);

    // ---- Help pages
    // <home>/doc/<LANG or C>/man/man<section>/<name>.<section>, falling back to "C";
    // else 0 with "Can't find man page for: <name>".
    [[nodiscard]] static long Find_Man_Page(Fnd_Condition& Condition, const Fnd_String& Name,
                                            const Fnd_String& Section, Fnd_String& Path);
    [[nodiscard]] static long Show_Man_Page(Fnd_Condition& Condition, const Fnd_String& Name,
                                            const Fnd_String& Section);
    [[nodiscard]] static long Output_Man_Page(Fnd_Condition& Condition, const Fnd_String& File);
    // Each line behind two blanks on Tio_Out; a last empty line is left out.
    static void Output_Help_Lines(const Fnd_String& Text);
    // The line after "NAME" as Title, the lines from "SYNOPSIS" up to "DESCRIPTION" or
    // "OPTIONS" as Synopsis (trailing blanks and up to 4 leading ones removed, each
    // ending in a newline). 1 if Title isn't empty.
    [[nodiscard]] static long Get_Man_Help_Info(const Fnd_String& File, Fnd_String& Title,
                                                Fnd_String& Synopsis);
    [[nodiscard]] static long Man_Help_Info(Fnd_Condition& Condition, const Fnd_String& Name,
                                            Fnd_String& Title, Fnd_String& Synopsis,
                                            const Fnd_String& Section);

    // ---- Times
    // Seconds: now for an empty text; local midnight for "today"; now plus "+H" or
    // "+H:M" hours (a plus sign with any other text is now); else the text read in the
    // form its sample suggests, fields not given taken from now.
    [[nodiscard]] static int64_t Time_Value(const Fnd_String& Text);

    // ---- Terminals, editors and commands
    // Descriptors 0 and 1 are both character special files.
    [[nodiscard]] static long Has_Terminal();
    // With a terminal: 1 and all outputs cleared. Else Redirect_To_Xterm with standard
    // input.
    [[nodiscard]] static long Ensure_Terminal(Fnd_Condition& Condition, const Fnd_String& Title,
                                              Fnd_String& Tty, long& Pid, long& Number,
                                              Fnd_String& Name, long Decorate);
    // Starts the XTERM switch's program running <home>/<arch>/bin/ztxterm, which writes
    // its device, a name and a number to a temporary file; waits up to 60 seconds for
    // it, then sends standard output and error (and input with Use_Stdin) there.
    [[nodiscard]] static long Redirect_To_Xterm(Fnd_Condition& Condition, const Fnd_String& Title,
                                                Fnd_String& Tty, long& Pid, long& Number,
                                                Fnd_String& Name, long Use_Stdin, long Decorate);
    // "<digit>... <file>": output and error appended to the file; "xterm": a terminal of
    // its own for all three; any other text: a file created or truncated. Empty: nothing.
    [[nodiscard]] static long Redirect_Server_Output(Fnd_Condition& Condition,
                                                     const Fnd_String& Target,
                                                     const Fnd_String& Title);
    // Connects the chosen standard descriptors to File (appended to, or created and
    // truncated), standard output first; stops at the first failure. 1 on success.
    [[nodiscard]] static long Redirect_Io(Fnd_Condition& Condition, const Fnd_String& File,
                                          long Append, long Use_Stdin, long Use_Stdout,
                                          long Use_Stderr);
    // The editor's argument list for File at Line: "%l" and "%n" in Command are the
    // line and the file; otherwise "vi" gets "-c <line>" and an emacs "+<line>", and the
    // file goes last. "vi" runs in a terminal of the XTERM switch ("<xterm> -e vi ...").
    static void Visit_Arguments(const Fnd_String& Command, const Fnd_String& File, long Line,
                                long Plain, Fnd_String_Array& Arguments);
    // Starts the editor without waiting; 1 on success.
    [[nodiscard]] static long Visit_Command(Fnd_Condition& Condition, const Fnd_String& Command,
                                            const Fnd_String& File, long Line, long Plain);
    // The EDITOR session switch, else the EDITOR variable; 0 with neither.
    [[nodiscard]] static long Base_Visit(Fnd_Condition& Condition, const Fnd_String& File,
                                         long Line, long Plain);
    // Runs Options.Arguments with no shell in between. Without Output and Print the
    // program runs as it is (waiting or not) and the given descriptors are closed after;
    // else its output is taken line by line and its error read and dropped. 1 when it
    // could be run; Status is its exit status.
    [[nodiscard]] static long Run_Command(Fnd_Condition& Condition, int& Status,
                                          Utl_Run_Options& Options);
};
