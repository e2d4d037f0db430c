#include "ztcoreutil/mxmsgexception.h"

#include <algorithm>
#include <vector>

#include "foundation/base/fnd_message.h"
#include "foundation/mfc/cobject.h"
#include "ztcoreutil/addiagnostic.h"

namespace {

// Copies at most Count units of Text into Buffer and terminates it.
void Copy_Cut(const Fnd_String& Text, Code_Unit* Buffer, long Count) {
    const long length = std::min(Text.Get_Length(), std::max(Count, 0L));
    std::copy(Text.Data(), Text.Data() + length, Buffer);
    Buffer[length] = 0;
}

Fnd_String Trimmed(const Code_Unit* Text) {
    Fnd_String text(Text);
    text.TrimLeft();
    text.TrimRight();
    return text;
}

// The buffer sizes in bytes: 256, 4096, then four times more, and Max once a size is
// above a quarter of it.
unsigned Next_Size(unsigned Size, unsigned Max) {
    unsigned next = Size > Max / 4 ? Max : Size == 256 ? 4096 : Size * 4;
    return std::min(next, Max);
}

}  // namespace

// ---- ExcpMsg
ExcpMsg::ExcpMsg(const MxMessage& Message) { Add(Message); }

ExcpMsg::ExcpMsg(const ExcpMsg& Other) : CTypedPtrList<CPtrList, MxMessage*>() { *this += Other; }

ExcpMsg::~ExcpMsg() { SetEmpty(); }

void ExcpMsg::Add(const MxMessage& Message) {
    MxMessage* copy = new MxMessage(Message);
    copy->Type(MxMsg_Error);
    AddTail(copy);
}

ExcpMsg& ExcpMsg::operator=(const MxMessage& Message) {
    SetEmpty();
    Add(Message);
    return *this;
}

ExcpMsg& ExcpMsg::operator+=(const MxMessage& Message) {
    Add(Message);
    return *this;
}

ExcpMsg& ExcpMsg::operator=(const ExcpMsg& Other) {
    if (this == &Other) return *this;
    SetEmpty();
    return *this += Other;
}

ExcpMsg& ExcpMsg::operator+=(const ExcpMsg& Other) {
    const int count = Other.GetCount();  // fixed first: Other may be this list
    POSITION at = Other.FirstPos();
    for (int i = 0; i < count && at; ++i, at = Other.NextPos(at)) Add(*Other.GetAtPos(at));
    return *this;
}

POSITION ExcpMsg::NextPos(POSITION Position) const {
    if (Position == nullptr) return nullptr;
    (void)GetNext(Position);
    return Position;
}

MxMessage* ExcpMsg::GetAtPos(POSITION Position) const {
    if (Position == nullptr || IsEmpty()) return nullptr;
    return GetAt(Position);
}

POSITION ExcpMsg::RemovePos(POSITION Position) {
    if (Position == nullptr) return nullptr;
    const long index = Index_Of(Position);
    delete GetAt(Position);
    RemoveAt(Position);
    // The list is an array: the next message now stands at the same index.
    return index < Get_Count() ? Position_Of(index) : nullptr;
}

void ExcpMsg::SetEmpty() {
    Cursor = nullptr;
    while (!IsEmpty()) delete static_cast<MxMessage*>(RemoveHead());
}

MxMessage* ExcpMsg::First() {
    Cursor = FirstPos();
    return Current();
}

MxMessage* ExcpMsg::Next() {
    Cursor = NextPos(Cursor);
    return Current();
}

MxMessage* ExcpMsg::Remove() {
    Cursor = RemovePos(Cursor);
    return Current();
}

void ExcpMsg::Deliver() {
    for (POSITION at = FirstPos(); at; at = NextPos(at)) GetAtPos(at)->Deliver(0);
}

// ---- MxMsgException
long MxMsgException::Is_Equal(const Fnd_Object&) const {
    return Fnd_Is_Equal_Not_Supported(My_Type);
}

int MxMsgException::GetErrorMessage(Code_Unit* Buffer, unsigned Max, unsigned*) {
    MxMessage* first = Messages.GetAtPos(Messages.FirstPos());
    if (first == nullptr) {
        if (Max != 0 && Buffer) Buffer[0] = 0;
        return 0;
    }
    if (Max == 0 || Buffer == nullptr) return 1;
    Copy_Cut(first->FullMsg(), Buffer, static_cast<long>(Max) - 1);
    return 1;
}

Fnd_String MxMsgException::GetErrorMessageString(int* Found, const unsigned Max_Bytes) {
    return ::GetErrorMessageString(this, Found, Max_Bytes);
}

int MxMsgException::ReportError(unsigned, unsigned) {
    Messages.Deliver();
    return 1;
}

// ---- Fnd_Core_Exception
Fnd_Core_Exception& Fnd_Core_Exception::operator=(const Fnd_Core_Exception& Other) {
    if (this != &Other) Condition = Other.Condition;
    return *this;
}

long Fnd_Core_Exception::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Core_Exception* other = Convert(&Other);
    return other != nullptr && Condition.Fnd_Object::operator==(other->Condition);
}

int Fnd_Core_Exception::GetErrorMessage(Code_Unit* Buffer, unsigned Max, unsigned*) {
    Fnd_String text;
    Condition.Image(text, Fnd_Detail_Normal, 0, 1, 1, 1, Fnd_Message::Default_Message_Separator());
    if (Buffer && Max != 0) Copy_Cut(text, Buffer, static_cast<long>(Max) - 2);
    return 1;
}

// ---- Throwing and reading
void ThrowMxMsgException(MxMessage& Message) {
    Message.Type(MxMsg_Error);
    if (AdDiagnostic::m_DiagnosticFlags[AdDiag_THROW] && AdDiagnostic::IsEnabled(AdDiag_THROW))
        AdDiagnostic::Report(u"Throw", Message.FullMsg().Data());
    MxMsgException* exception = new MxMsgException();
    exception->Messages.SetEmpty();
    exception->Messages.Add(Message);
    throw exception;
}

void ThrowMxMsgException(int Id) {
    MxMessage message(Id);
    ThrowMxMsgException(message);
}

Fnd_String GetErrorMessageString(CException* E, int* Found, const unsigned Max_Bytes) {
    if (Found) *Found = 0;
    const unsigned max = Max_Bytes ? Max_Bytes : 131072;
    std::vector<Code_Unit> buffer;
    for (unsigned size = std::min(256u, max);; size = Next_Size(size, max)) {
        const unsigned units = size / 2;
        buffer.assign(units + 1, 0);
        try {
            if (E == nullptr || E->GetErrorMessage(buffer.data(), units, nullptr) == 0)
                return Trimmed(buffer.data());
        } catch (...) {
            return Trimmed(buffer.data());
        }
        const Fnd_String text(buffer.data());
        if ((static_cast<unsigned long>(text.Get_Length()) + 1) * 2 < size) {
            if (Found) *Found = 1;
            return Trimmed(text.Data());
        }
        if (size >= max) return text;
    }
}

void LogZTCoreCException(CException*) {}
void LogZTCoreExceptionMsg(const Code_Unit*) {}
