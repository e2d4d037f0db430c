// Utl_File_Reader: text read line by line and token by token, from a file, a string
// or an array of strings. A file may use a small preprocessor: comment lines, "\" at
// the end of a line to join the next one, and the directives "#define", "#undef",
// "#include", "#if", "#ifdef", "#ifndef", "#else" and "#endif" at column 0. Failures
// never throw: a file that can't be opened gives an empty reader, and a fault in a
// directive is written to the log as "<file>: Error on line <n> - <text>" while
// reading goes on.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_trace_words.h"

class Tio_Text_Output_Base;
class Utl_String_Array;

// Bits of the reader's options.
enum Utl_File_Reader_Options : long {
    Utl_Read_No_Options = 0,
    Utl_Read_Include = 1,        // obey #include
    Utl_Read_Comments = 2,       // a line whose first non-blank is "#" is skipped
    Utl_Read_Continuation = 4,   // "\" at the end of a line of a file joins the next
    Utl_Read_Conditionals = 8,   // obey #if, #ifdef, #ifndef, #else, #endif (and defines)
    Utl_Read_Defines = 16,       // obey #define, #undef
    Utl_Read_Highlight = 32,     // messages also go to the editor interface's Highlight
    Utl_Read_Visit = 64,         // messages also go to the editor interface's Visit_File
    Utl_Read_Unescape = 128,     // escapes are removed from a quoted token
    Utl_Read_Default = 15
};

// What a reader reads.
enum Utl_File_Reader_Kind : long {
    Utl_Reader_File = 0,    // one line of the file
    Utl_Reader_String = 1,  // the whole string, as the current line
    Utl_Reader_Text = 2,    // a text, split at newlines
    Utl_Reader_Tokens = 3,  // an array, each element a token
    Utl_Reader_Lines = 4    // an array, each element a line
};

class Utl_File_Reader {
public:
    // Trace words (Utl_Tracing): level, first and second masks for the class and for each
    // object; level 3 or "read" in the second mask prints each line Getline gives, and
    // bit 0 of the other word each obeyed directive.
    static inline Utl_Trace_Words Class_Trace;
    static inline int32_t other_trace = 0;
    Utl_Trace_Words Trace;
    int32_t Other_Trace = 0;

    // Files open at once (the outermost and the included) are at most this many; an
    // include beyond, or of a file that is already open, is an error in the log.
    static constexpr long Max_Include_Depth = 32;

    Utl_File_Reader();
    explicit Utl_File_Reader(const Fnd_String& File_Name, long Options = Utl_Read_Default,
                             bool Use_UTF8 = false);
    // Kinds 1 and 2; options 0 for kind 1, else the default.
    Utl_File_Reader(const Fnd_String& Text, Utl_File_Reader_Kind Kind);
    // Kinds 3 and 4; the array is not owned and must outlive the reader. Null reads
    // nothing.
    Utl_File_Reader(const Utl_String_Array* Array, Utl_File_Reader_Kind Kind);
    ~Utl_File_Reader();
    Utl_File_Reader(const Utl_File_Reader&) = delete;
    Utl_File_Reader& operator=(const Utl_File_Reader&) = delete;

    // The next line into Get_Line(); 1, or 0 at the end of the input.
    [[nodiscard]] long Getline();
    // The next token: a run of characters up to a blank, tab or newline, or a text in
    // double quotes (two double quotes inside stand for one). Across_Lines reads on
    // into the next lines. 1, or 0 when there is none.
    [[nodiscard]] long Next_Token(Fnd_String& Token, long Across_Lines);
    // As Next_Token; a lone "\" ending a line is replaced by the first token of the
    // next; with Stop_At_Comment an unquoted token starting with "#" ends the line.
    [[nodiscard]] long Get_Token(Fnd_String& Token, long Across_Lines, long Stop_At_Comment);
    // What follows the last token, without blanks and tabs at either end and without
    // enclosing double quotes; the line is then used up.
    void Rest_Of_Line(Fnd_String& Text);
    // Reads on to line Number: 1 when there, 0 if it lies behind or the input ends.
    [[nodiscard]] long Goto_Line(long Number);
    // The next Getline returns Text.
    void Set_Next_Line(const Fnd_String& Text);
    void Set_Next_To_Current();

    // Start again on a file (defines are kept, their entries emptied), or on a string
    // of kind 1 or 2.
    void Reuse(const Fnd_String& File_Name);
    void Reset_Line(const Fnd_String& Text, Utl_File_Reader_Kind Kind);
    // As Reset_Line, taking Text's contents: Text is left empty.
    void Transfer_Line(Fnd_String& Text, Utl_File_Reader_Kind Kind);
    // Reads File_Name next, as #include does; the name isn't expanded. 1 when opened.
    [[nodiscard]] long Process_Include(const Fnd_String& File_Name);

    // ---- Symbols of #define
    void Define_Variable(const Fnd_String& Name, const Fnd_String& Value);
    void Undefine_Variable(const Fnd_String& Name);
    [[nodiscard]] static long Is_Variable(const Fnd_String& Text);
    // The value, or null.
    [[nodiscard]] const Fnd_String* Get_Variable(const Fnd_String& Name) const;
    void Copy_Defines(const Utl_File_Reader& Other);
    // Text becomes its value (looked up without its first character with
    // Strip_Dollar); 0 and Text unchanged if it isn't defined.
    [[nodiscard]] long Variable_Value(Fnd_String& Text, long Strip_Dollar) const;
    // Each "$name" replaced by its value; an unknown one is deleted unless Keep_Unknown.
    void Replace_Variables(Fnd_String& Text, long Keep_Unknown) const;

    // "<file>: Error on line <n> - <text>" to the log (or "Error - <text>" without a
    // file); the rest of the line is given up, and with Skip_Paragraph the lines up to
    // an empty one.
    void Error_Message(const Fnd_String& Text, long Skip_Paragraph);
    void Warning_Message(const Fnd_String& Text, long Skip_Paragraph);

    void Close();
    // Comment and directive lines are also written to Copy (null: nowhere), which must
    // outlive the reader.
    void Set_Copy_Stream(Tio_Text_Output_Base* Copy) { Copy_Stream = Copy; }
    // Files are read as UTF-8, else in the default charset; set before the first read.
    void UseUtf8CodePage(bool Flag) { Use_UTF8 = Flag; }

    const Fnd_String& Get_Line() const { return Line; }
    long Get_Position() const { return Position; }
    long Get_Line_Number() const { return Line_Number; }
    const Fnd_String& Get_File_Name() const { return File_Name; }
    long Get_Include_Level() const { return static_cast<long>(Includes.size()); }
    const Fnd_String& Get_Outermost_Filename() const;
    const Fnd_String& Get_Original_String() const;
    long Get_Options() const { return Options; }
    void Set_Options(long Value) { Options = Value; }
    long Get_Kind() const { return Kind; }
    bool Is_Open_Failed() const { return Open_Failed; }
    bool Is_At_End() const { return At_End; }
    bool Is_Quoted() const { return Quoted; }
    long Get_Token_Count() const { return Token_Count; }
    long Get_Token_Start() const { return Token_Start; }
    // The descriptor of the file being read; -1 without one.
    int Get_File_Descriptor() const;

    // ---- Tracing
    // The source, position and options on one line; the long form adds the source
    // string, the suspended files and the symbols.
    void Image(Fnd_String& Out, bool Long_Form) const;
    // The long image on the console stream under Label.
    void Show(const Code_Unit* Label) const;
    // Name is not copied and must outlive the registration.
    void Register_Object(const Code_Unit* Name, Utl_Trace_Operation Operation = nullptr,
                         void* Parent = nullptr);
    void Set_Name(const Code_Unit* Name, void* Parent = nullptr);
    // "set" (also bit value 8, the other word), "clear" and "show" on a reader.
    static void Operation(void* Object, const Fnd_String& Command, const Fnd_String& First,
                          const Fnd_String& Second);

private:
    struct Open_File {
        int Fd = -1;
        std::unique_ptr<char[]> Block;  // read ahead from Fd: Begin to End not used yet
        std::size_t Begin = 0;
        std::size_t End = 0;
        Fnd_String Name;
        long Line_Number = 0;
        dev_t Device = 0;
        ino_t Inode = 0;
    };

    Fnd_String Line;
    long Position = -1;
    bool Use_UTF8 = false;
    long Kind = Utl_Reader_File;
    Fnd_String File_Name;
    long Line_Number = 0;
    Open_File Current;
    bool Open_Failed = false;
    bool At_End = false;
    bool Quoted = false;
    Fnd_String Held_Token;
    long Token_Count = 0;
    long Token_Start = -1;
    bool Has_Next_Line = false;
    Fnd_String Next_Line;
    Fnd_String Text;
    Fnd_String Original;
    long Index = -1;
    const Utl_String_Array* Array = nullptr;
    std::vector<Open_File> Includes;
    std::vector<bool> Conditions;
    std::map<std::u16string, Fnd_String> Defines;
    long Options = Utl_Read_Default;
    Tio_Text_Output_Base* Copy_Stream = nullptr;
    Fnd_String Outermost;
    std::string Pending;  // a line that runs over the end of a block

    void Start_File(const Fnd_String& File_Name);
    long Read_Next_Line();
    void Trace_Line(long Got) const;
    void Trace_Directive() const;
    bool Open(const Fnd_String& Name, Open_File& File, Fnd_String& Failure);
    bool Read_File_Line(Fnd_String& Out);
    long Read_Raw();
    void Close_All();
    bool Handle_Directive();
    void Copy_Line() const;
    void Do_Define(long Pos, bool Undefine);
    void Do_Include(long Pos);
    void Do_If(long Pos);
    // "#if (expression)": the text behind "(" to the end of the line, answered by the
    // script interface; no answer is false, with its reason as an error message.
    [[nodiscard]] bool Process_Expression(const Fnd_String& Expression);
    // Options 32 and 64: a message's file and line to the editor interface.
    void Tell_Editor(const Fnd_String& Text) const;
    void Do_Ifdef(long Pos, bool Negate);
    long Skip_Lines(bool To_Else);
    void Open_Block(bool Taken);
    void Full_Name(Fnd_String& Name) const;
    void Message(const Code_Unit* Label, const Code_Unit* Bare, long Kind, const Fnd_String& Text,
                 long Skip_Paragraph);
};
