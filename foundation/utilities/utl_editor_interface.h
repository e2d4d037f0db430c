// Where a host program with an editor or a script language plugs into the foundation.
// Utl_Editor_Interface::Get() and Utl_Script_Interface::Get() give the coupler in
// force; a host installs its own derived object with Set. At first use the couplers
// to programs of this host stand there:
//
//  - Utl_Program_Editor starts the editor named by the Editor switch or EDITOR at a
//    file and line (Utl_Pathname::Visit_Command), without a shell;
//  - Utl_Program_Script answers tests with the program "test" and expressions with
//    "expr", and calls a function as a program of that name; the text is split into
//    words and each word is one argument, so no user text reaches a shell.
//
//   Fnd_Condition cond;
//   long value = 0;
//   if (Utl_Script_Interface::Get().Process_Test(cond, u"-f /etc/hosts )", value)) ...
#pragma once

#include <memory>

#include "foundation/base/fnd_string.h"

class Fnd_Condition;
class Fnd_String_Array;
class Utl_Pointer_Array;

// Matters between a host and its editor; nothing here reads them.
enum Utl_Display_Mode : long { Utl_Display_Default = 0 };
enum Utl_Creation_Option : long { Utl_Create_Default = 0 };

class Utl_Editor_Interface {
public:
    Utl_Editor_Interface() = default;
    Utl_Editor_Interface(const Utl_Editor_Interface&) = delete;
    Utl_Editor_Interface& operator=(const Utl_Editor_Interface&) = delete;
    virtual ~Utl_Editor_Interface() = default;

    // "Message_Box: " and the text on the console stream.
    virtual void Message_Box(const Fnd_String& Text);
    // The default clears Condition and gives 0.
    [[nodiscard]] virtual long Visit_File(Fnd_Condition& Condition, const Fnd_String& File,
                                          long Line, long Column);
    // The defaults of these three clear Condition.
    virtual void Visit(Fnd_Condition& Condition, const Fnd_String& File, const Fnd_String& Text,
                       long Line, Utl_Display_Mode Mode, const Fnd_String& First,
                       const Fnd_String& Second, Utl_Creation_Option Creation, unsigned Flags);
    virtual void Highlight(Fnd_Condition& Condition, const Fnd_String& File, long Line,
                           const Fnd_String& Text, const Fnd_String& Other_Text, long First,
                           long Second, long Third, long Fourth, Utl_Display_Mode Mode,
                           unsigned Flags);
    // Lines holds Utl_Highlight records.
    virtual void Highlight_Lines(Fnd_Condition& Condition, const Fnd_String& File,
                                 Utl_Pointer_Array* Lines, const Fnd_String& Text,
                                 const Fnd_String& Other_Text, long First, long Second,
                                 Utl_Display_Mode Mode, unsigned Flags);
    // The default clears Condition and gives 1.
    [[nodiscard]] virtual long Ensure_Terminal(Fnd_Condition& Condition, const Fnd_String& Title,
                                               Fnd_String& Tty, long& Pid, long& Number,
                                               Fnd_String& Name, long Decorate);

    // The coupler in force; a Utl_Program_Editor is made at the first call if none is.
    static Utl_Editor_Interface& Get();
    // Installs Coupler, which now belongs to the interface; null puts the first-use
    // coupler back.
    static void Set(std::unique_ptr<Utl_Editor_Interface> Coupler);
};

// The editor of this host as a program. Visit_File and Highlight start it at the file's
// line; the editor command is the one given, else the Editor switch, else EDITOR.
class Utl_Program_Editor : public Utl_Editor_Interface {
public:
    explicit Utl_Program_Editor(const Fnd_String& Command = Fnd_String());

    [[nodiscard]] long Visit_File(Fnd_Condition& Condition, const Fnd_String& File, long Line,
                                  long Column) override;
    void Highlight(Fnd_Condition& Condition, const Fnd_String& File, long Line,
                   const Fnd_String& Text, const Fnd_String& Other_Text, long First, long Second,
                   long Third, long Fourth, Utl_Display_Mode Mode, unsigned Flags) override;
    [[nodiscard]] long Ensure_Terminal(Fnd_Condition& Condition, const Fnd_String& Title,
                                       Fnd_String& Tty, long& Pid, long& Number, Fnd_String& Name,
                                       long Decorate) override;

private:
    Fnd_String Command;
};

class Utl_Script_Interface {
public:
    Utl_Script_Interface() = default;
    Utl_Script_Interface(const Utl_Script_Interface&) = delete;
    Utl_Script_Interface& operator=(const Utl_Script_Interface&) = delete;
    virtual ~Utl_Script_Interface() = default;

    // Arguments is a null-ended vector of texts. The default does nothing.
    virtual void Call_Function(Fnd_String& Result, const Fnd_String& Name,
                               const Code_Unit* const* Arguments);
    // 1 with an answer (Result 1 true, 0 false); 0 without one, with the reason in
    // Condition if there is one. The default gives 0.
    [[nodiscard]] virtual long Process_Test(Fnd_Condition& Condition, const Fnd_String& Text,
                                            long& Result);
    // 1 with a value; as Process_Test otherwise. The default gives 0.
    [[nodiscard]] virtual long Process_Expr(Fnd_Condition& Condition, const Fnd_String& Text,
                                            Fnd_String& Value);

    static Utl_Script_Interface& Get();
    static void Set(std::unique_ptr<Utl_Script_Interface> Coupler);
};

// Tests, expressions and functions as programs of this host, run without a shell.
class Utl_Program_Script : public Utl_Script_Interface {
public:
    // The programs that answer Process_Test and Process_Expr, found along PATH.
    explicit Utl_Program_Script(const Fnd_String& Test_Program = Fnd_String(u"test"),
                                const Fnd_String& Expr_Program = Fnd_String(u"expr"));

    // Runs the program Name with the arguments; Result is its output without the last
    // line end, empty if it can't be run.
    void Call_Function(Fnd_String& Result, const Fnd_String& Name,
                       const Code_Unit* const* Arguments) override;
    // The test program with "(" and the words of Text, which ends with the ")" that
    // closes it: exit status 0 is true, 1 false; anything else is no answer and an
    // "Invalid test: " error.
    [[nodiscard]] long Process_Test(Fnd_Condition& Condition, const Fnd_String& Text,
                                    long& Result) override;
    // The expr program with the words of Text; its output is the value.
    [[nodiscard]] long Process_Expr(Fnd_Condition& Condition, const Fnd_String& Text,
                                    Fnd_String& Value) override;

private:
    Fnd_String Test_Program;
    Fnd_String Expr_Program;

    // Runs Arguments; false when it could not run. Output and Status as it ended.
    [[nodiscard]] bool Run(Fnd_Condition& Condition, const Fnd_String_Array& Arguments,
                           Fnd_String& Output, int& Status) const;
};

// A record of Highlight_Lines: three numbers and two texts, pooled.
class Utl_Highlight {
public:
    long First = 0;
    long Second = 0;
    long Third = 0;
    Fnd_String Text;
    Fnd_String Other_Text;

    // From the free list, or new.
    static Utl_Highlight* Get(long First, long Second, long Third, const Fnd_String& Text,
                              const Fnd_String& Other_Text);
    // Back to the free list; the pointer is dead after.
    void Free();
    // For a Utl_Pointer_Array's element deleter; a null passes.
    static void Deleter(void* Record);
    // Records on the free list, for tests.
    static long Free_Count();

private:
    Utl_Highlight() = default;
    Utl_Highlight* Link = nullptr;
};
