// The free list of string objects. The array, map and reader classes hold strings by
// pointer; Get and Free recycle the objects so that they cost no allocation each.
#include "foundation/base/fnd_semaphore.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"

class Fnd_String_Free_List {
public:
    // Storage above this many units is released before a string enters the list.
    static constexpr long Largest_Kept = 1000;

    static Fnd_String* Pop() {
        Fnd_Recursive_Semaphore_Guard guard(Lock, 0);
        Fnd_String* head = Head;
        if (head) {
            Head = head->Next;
            head->Next = nullptr;
            --Count;
        }
        return head;
    }

    static void Push(Fnd_String* String) {
        Fnd_Recursive_Semaphore_Guard guard(Lock, 0);
        String->Next = Head;
        Head = String;
        ++Count;
    }

    static long Size() {
        Fnd_Recursive_Semaphore_Guard guard(Lock, 0);
        return Count;
    }

    // "STRING FREE_LIST", a line per string (address, capacity, text), "count = N".
    static Fnd_String Image() {
        Fnd_Recursive_Semaphore_Guard guard(Lock, 0);
        Fnd_String out(u"STRING FREE_LIST\n");
        for (const Fnd_String* string = Head; string; string = string->Next) {
            out.Append(u"  ");
            out.Append(Fnd_String_Library::To_String(string, 16, 1));
            out.Append(u" ");
            out.Append(Fnd_String_Library::To_String(string->Buffer.Get_Allocated()));
            out.Append(u" ");
            out.Append_Data(string->Data(), string->Length);
            out.Append(u"\n");
        }
        out.Append(u"count = ");
        out.Append(Fnd_String_Library::To_String(Count));
        out.Append(u"\n");
        return out;
    }

    static void Release_Large_Storage(Fnd_String* String) {
        if (String->Buffer.Get_Allocated() > Largest_Kept) {
            String->Buffer.Deallocate();
            String->Length = 0;
        }
    }

private:
    static inline Fnd_String* Head = nullptr;
    static inline long Count = 0;
    static inline Fnd_Recursive_Semaphore* Lock = nullptr;  // freelist_lock
};

Fnd_String* Fnd_String::Get() {
    Fnd_String* string = Fnd_String_Free_List::Pop();
    if (!string) return new Fnd_String();
    string->Make_Empty();
    return string;
}

Fnd_String* Fnd_String::Get(const Fnd_String& Text) {
    Fnd_String* string = Fnd_String_Free_List::Pop();
    if (!string) return new Fnd_String(Text);
    string->Buffer = Text.Buffer;
    string->Length = Text.Length;
    return string;
}

Fnd_String* Fnd_String::Get(const Code_Unit* Text) {
    Fnd_String* string = Fnd_String_Free_List::Pop();
    if (!string) return new Fnd_String(Text);
    *string = Text;
    return string;
}

void Fnd_String::Free() {
    Fnd_String_Free_List::Release_Large_Storage(this);
    Fnd_String_Free_List::Push(this);
}

long Fnd_String::Free_List_Count() { return Fnd_String_Free_List::Size(); }

Fnd_String Fnd_String::Show_State_Text() { return Fnd_String_Free_List::Image(); }
