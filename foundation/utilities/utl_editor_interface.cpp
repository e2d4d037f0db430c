#include "foundation/utilities/utl_editor_interface.h"

#include <ostream>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_array.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/streams/ztconsole.h"
#include "foundation/utilities/utl_errors.h"
#include "foundation/utilities/utl_pathname.h"
#include "foundation/utilities/utl_string_utilities.h"

namespace {

std::unique_ptr<Utl_Editor_Interface>& Editor_Coupler() {
    static auto* coupler = new std::unique_ptr<Utl_Editor_Interface>;  // lives to the end
    return *coupler;
}

std::unique_ptr<Utl_Script_Interface>& Script_Coupler() {
    static auto* coupler = new std::unique_ptr<Utl_Script_Interface>;
    return *coupler;
}

// Each word of Text as one argument, quotes taken off as the command-line tokens take
// them.
void Add_Words(Fnd_String_Array& Arguments, const Fnd_String& Text) {
    long pos = -1;
    Fnd_String word;
    while (Utl_String_Utilities::Token_Get(word, Text, pos, 1)) Arguments.Add(word);
}

Utl_Highlight* Free_Highlights = nullptr;

}  // namespace

// ---- Utl_Editor_Interface: the defaults

void Utl_Editor_Interface::Message_Box(const Fnd_String& Text) {
    get_ztcout() << Fnd_String(u"Message_Box: ") << Text << std::endl;
}

long Utl_Editor_Interface::Visit_File(Fnd_Condition& Condition, const Fnd_String&, long, long) {
    Condition.Clear();
    return 0;
}

void Utl_Editor_Interface::Visit(Fnd_Condition& Condition, const Fnd_String&, const Fnd_String&,
                                 long, Utl_Display_Mode, const Fnd_String&, const Fnd_String&,
                                 Utl_Creation_Option, unsigned) {
    Condition.Clear();
}

void Utl_Editor_Interface::Highlight(Fnd_Condition& Condition, const Fnd_String&, long,
                                     const Fnd_String&, const Fnd_String&, long, long, long, long,
                                     Utl_Display_Mode, unsigned) {
    Condition.Clear();
}

void Utl_Editor_Interface::Highlight_Lines(Fnd_Condition& Condition, const Fnd_String&,
                                           Utl_Pointer_Array*, const Fnd_String&,
                                           const Fnd_String&, long, long, Utl_Display_Mode,
                                           unsigned) {
    Condition.Clear();
}

long Utl_Editor_Interface::Ensure_Terminal(Fnd_Condition& Condition, const Fnd_String&,
                                           Fnd_String&, long&, long&, Fnd_String&, long) {
    Condition.Clear();
    return 1;
}

Utl_Editor_Interface& Utl_Editor_Interface::Get() {
    std::unique_ptr<Utl_Editor_Interface>& coupler = Editor_Coupler();
    if (!coupler) coupler = std::make_unique<Utl_Program_Editor>();
    return *coupler;
}

void Utl_Editor_Interface::Set(std::unique_ptr<Utl_Editor_Interface> Coupler) {
    Editor_Coupler() = std::move(Coupler);
}

// ---- Utl_Program_Editor

Utl_Program_Editor::Utl_Program_Editor(const Fnd_String& Command) : Command(Command) {}

long Utl_Program_Editor::Visit_File(Fnd_Condition& Condition, const Fnd_String& File, long Line,
                                    long) {
    if (Command.Is_Empty()) return Utl_Pathname::Base_Visit(Condition, File, Line, 0);
    return Utl_Pathname::Visit_Command(Condition, Command, File, Line, 0);
}

void Utl_Program_Editor::Highlight(Fnd_Condition& Condition, const Fnd_String& File, long Line,
                                   const Fnd_String&, const Fnd_String&, long, long, long, long,
                                   Utl_Display_Mode, unsigned) {
    (void)Visit_File(Condition, File, Line, 0);
}

long Utl_Program_Editor::Ensure_Terminal(Fnd_Condition& Condition, const Fnd_String& Title,
                                         Fnd_String& Tty, long& Pid, long& Number,
                                         Fnd_String& Name, long Decorate) {
    return Utl_Pathname::Ensure_Terminal(Condition, Title, Tty, Pid, Number, Name, Decorate);
}

// ---- Utl_Script_Interface: the defaults

void Utl_Script_Interface::Call_Function(Fnd_String&, const Fnd_String&, const Code_Unit* const*) {}

long Utl_Script_Interface::Process_Test(Fnd_Condition&, const Fnd_String&, long&) { return 0; }

long Utl_Script_Interface::Process_Expr(Fnd_Condition&, const Fnd_String&, Fnd_String&) {
    return 0;
}

Utl_Script_Interface& Utl_Script_Interface::Get() {
    std::unique_ptr<Utl_Script_Interface>& coupler = Script_Coupler();
    if (!coupler) coupler = std::make_unique<Utl_Program_Script>();
    return *coupler;
}

void Utl_Script_Interface::Set(std::unique_ptr<Utl_Script_Interface> Coupler) {
    Script_Coupler() = std::move(Coupler);
}

// ---- Utl_Program_Script

Utl_Program_Script::Utl_Program_Script(const Fnd_String& Test_Program,
                                       const Fnd_String& Expr_Program)
    : Test_Program(Test_Program), Expr_Program(Expr_Program) {}

bool Utl_Program_Script::Run(Fnd_Condition& Condition, const Fnd_String_Array& Arguments,
                             Fnd_String& Output, int& Status) const {
    Utl_Run_Options options;
    options.Arguments = &Arguments;
    options.Output = &Output;
    Output.Make_Empty();
    Status = -1;
    return Utl_Pathname::Run_Command(Condition, Status, options) != 0;
}

void Utl_Program_Script::Call_Function(Fnd_String& Result, const Fnd_String& Name,
                                       const Code_Unit* const* Arguments) {
    Result.Make_Empty();
    Fnd_String_Array arguments;
    arguments.Add(Name);
    for (const Code_Unit* const* argument = Arguments; argument && *argument; ++argument)
        arguments.Add(Fnd_String(*argument));
    Fnd_Condition condition;
    int status = 0;
    if (!Run(condition, arguments, Result, status)) return;
    if (!Result.Is_Empty() && Result[Result.Get_Length() - 1] == u'\n')
        Result.Delete(Result.Get_Length() - 1, 1);
}

long Utl_Program_Script::Process_Test(Fnd_Condition& Condition, const Fnd_String& Text,
                                      long& Result) {
    Condition.Clear();
    Result = 0;
    Fnd_String_Array arguments;
    arguments.Add(Test_Program);
    arguments.Add(Fnd_String(u"("));
    // The ")" that closes the test is written against the last word ("(a = b)"): the
    // test program wants it as a word of its own.
    Fnd_String words(Text);
    Fnd_String_Library::Strip_Trailing(words);
    const bool closed = !words.Is_Empty() && words[words.Get_Length() - 1] == u')';
    if (closed) words.Delete(words.Get_Length() - 1, 1);
    Add_Words(arguments, words);
    if (closed) arguments.Add(Fnd_String(u")"));
    Fnd_String output;
    int status = 0;
    if (!Run(Condition, arguments, output, status)) return 0;
    if (status == 0 || status == 1) {
        Result = status == 0;
        return 1;
    }
    Condition = Utl_Text_Error(u"Invalid test: (" + Text);
    return 0;
}

long Utl_Program_Script::Process_Expr(Fnd_Condition& Condition, const Fnd_String& Text,
                                      Fnd_String& Value) {
    Condition.Clear();
    Fnd_String_Array arguments;
    arguments.Add(Expr_Program);
    Add_Words(arguments, Text);
    int status = 0;
    if (!Run(Condition, arguments, Value, status)) return 0;
    // expr: 0 a value that isn't null or 0, 1 null or 0, 2 and above an error.
    if (status >= 2) {
        Value.Make_Empty();
        Condition = Utl_Text_Error(u"Invalid expression: " + Text);
        return 0;
    }
    if (!Value.Is_Empty() && Value[Value.Get_Length() - 1] == u'\n')
        Value.Delete(Value.Get_Length() - 1, 1);
    return 1;
}

// ---- Utl_Highlight

Utl_Highlight* Utl_Highlight::Get(long First, long Second, long Third, const Fnd_String& Text,
                                  const Fnd_String& Other_Text) {
    Utl_Highlight* record = Free_Highlights;
    if (record)
        Free_Highlights = record->Link;
    else
        record = new Utl_Highlight;
    record->Link = nullptr;
    record->First = First;
    record->Second = Second;
    record->Third = Third;
    record->Text = Text;
    record->Other_Text = Other_Text;
    return record;
}

void Utl_Highlight::Free() {
    Link = Free_Highlights;
    Free_Highlights = this;
}

void Utl_Highlight::Deleter(void* Record) {
    if (Record) static_cast<Utl_Highlight*>(Record)->Free();
}

long Utl_Highlight::Free_Count() {
    long count = 0;
    for (const Utl_Highlight* record = Free_Highlights; record; record = record->Link) ++count;
    return count;
}
