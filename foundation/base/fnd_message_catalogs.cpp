#include "foundation/base/fnd_message_catalogs.h"

#include <unicode/ures.h>

#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_switches.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/aduilanguage.h"

namespace {

constexpr long Catalog_Diagnostic = 46;
constexpr long Open_Close_Bit = 1;

void Report(const Code_Unit* Label, const Fnd_String& Text) {
    if (AdDiagnostic::m_DiagnosticFlags[Catalog_Diagnostic] &&
        AdDiagnostic::IsEnabled(Catalog_Diagnostic, Open_Close_Bit, 1))
        AdDiagnostic::Report(Label, Text.Data());
}

// Appends Element to Path as a pathname element.
void Append_Element(Fnd_String& Path, const Fnd_String& Element) {
    if (!Path.Is_Empty() && Path[Path.Get_Length() - 1] != u'/') Path.Append(Fnd_Char(u'/'));
    Path.Append(Element);
}

}  // namespace

Fnd_Recursive_Semaphore* Fnd_Message_Catalogs::Catalog_Lock = nullptr;
Fnd_Catalog_Info** Fnd_Message_Catalogs::Cats = nullptr;
long Fnd_Message_Catalogs::Open = 0;

Fnd_Catalog_Info::Fnd_Catalog_Info() : Name(new Fnd_String()) {}

Fnd_Catalog_Info::~Fnd_Catalog_Info() {
    delete Name;
    if (Bundle != nullptr) ures_close(Bundle);
}

void Fnd_Catalog_Info::Close() {
    if (Bundle != nullptr) ures_close(Bundle);
    Bundle = nullptr;
    Name->Make_Empty();
}

UResourceBundle* Fnd_Message_Catalogs::Open_Catalog(const Fnd_String& Name) {
    Fnd_Recursive_Semaphore_Guard guard(Catalog_Lock, 0);
    return Open_Catalog_Internal(Name);
}

void Fnd_Message_Catalogs::Close_Catalogs() {
    Fnd_Recursive_Semaphore_Guard guard(Catalog_Lock, 0);
    Close_Catalogs_Internal();
}

Fnd_String Fnd_Message_Catalogs::Message_Directory() {
    Fnd_String directory(Hst_Switches::Messages_Switch_Value());
    if (!directory.Is_Empty()) return directory;
    const Fnd_String& home = Hst_Switches::Product_Home_Switch_Value();
    if (home.Is_Empty()) return directory;
    directory = home;
    Append_Element(directory, Hst_Switches::Architecture_Switch_Value());
    Append_Element(directory, Hst_Product_Dir_Table[Hst_Product_Messages_Dir]);
    return directory;
}

UResourceBundle* Fnd_Message_Catalogs::Open_Catalog_Internal(const Fnd_String& Name) {
    if (Name.Is_Empty()) return nullptr;
    if (Cats == nullptr) {
        Cats = new Fnd_Catalog_Info*[Max_Cats];
        for (long i = 0; i < Max_Cats; ++i) Cats[i] = new Fnd_Catalog_Info();
    }

    long found = 0;
    while (found < Open && !(*Cats[found]->Name == Name)) ++found;
    if (found == Open) {
        Report(u"Fnd_Message_Catalogs::Open_Catalog", Name);
        Fnd_String path = Message_Directory();
        if (path.Is_Empty()) return nullptr;
        Append_Element(path, Name);
        UErrorCode status = U_ZERO_ERROR;
        UResourceBundle* bundle =
            ures_openU(path.Data(), AdUILanguage::getDefault().getICULocale(), &status);
        if (U_FAILURE(status)) {
            if (bundle != nullptr) ures_close(bundle);
            return nullptr;
        }
        if (Open == Max_Cats) {
            // Reuse the least recently used entry.
            found = Max_Cats - 1;
            Report(u"Close_Catalogs", *Cats[found]->Name);
            Cats[found]->Close();
        } else {
            found = Open++;
        }
        Cats[found]->Bundle = bundle;
        *Cats[found]->Name = Name;
    }

    // The entry moves to the front.
    Fnd_Catalog_Info* entry = Cats[found];
    for (long i = found; i > 0; --i) Cats[i] = Cats[i - 1];
    Cats[0] = entry;
    return entry->Bundle;
}

void Fnd_Message_Catalogs::Close_Catalogs_Internal() {
    if (Cats == nullptr) {
        Report(u"Fnd_Message_Catalogs::Close_Catalogs", Fnd_String(u"Cats is null"));
        return;
    }
    for (long i = 0; i < Open; ++i) {
        Report(u"Fnd_Message_Catalogs::Close_Catalogs", *Cats[i]->Name);
        Cats[i]->Close();
    }
    Open = 0;
}

long Fnd_Message_Catalogs::Open_Count() { return Open; }

const Fnd_String& Fnd_Message_Catalogs::Open_Name(long Index) {
    if (Cats == nullptr || Index < 0 || Index >= Open) return Fnd_String::Null;
    return *Cats[Index]->Name;
}
