#include "ztint_utils/ztint_transport.h"

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_switches.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztint_base/ztint_strings.h"

namespace {

constexpr int32_t kHeaderSize = sizeof(ZTInt_msg_struct);

int Fail(char** error, const char* text)
{
    *error = ZTInt_String_New(text);
    return ZTInt_transport_Failed;
}

// Moves the transfer position on by the count of the last read or write.
void Advance(ZTInt_RPC_Handle* handle, long count)
{
    handle->Last_Count = static_cast<int32_t>(count);
    if (count > 0) {
        handle->Data += count;
        handle->Length -= static_cast<int32_t>(count);
    }
}

// One read or write step of the transfer under way. A read that meets end of
// file before the transfer is complete fails instead of spinning.
int Step(ZTInt_RPC_Handle* handle, bool reading, char** error)
{
    Fnd_Condition condition;
    const long count =
        reading ? Hst_Filesystem::Read(handle->Read_File, handle->Data, handle->Length, condition)
                : Hst_Filesystem::Write(handle->Write_File, handle->Data, handle->Length, condition);
    Advance(handle, count);
    int result = ZTInt_transport_Done;
    Set_Result(condition, result, error);
    if (result == ZTInt_transport_Done && count == 0 && handle->Length > 0)
        return Fail(error, reading ? "incomplete data" : "no data written");
    return result;
}

// Writes size bytes from data by single writes until one takes them all.
int Write_Whole(ZTInt_RPC_Handle* handle, const void* data, int32_t size, char** error)
{
    int result;
    long count;
    do {
        Fnd_Condition condition;
        count = Hst_Filesystem::Write(handle->Write_File, data, size, condition);
        handle->Last_Count = static_cast<int32_t>(count);
        result = ZTInt_transport_Done;
        Set_Result(condition, result, error);
    } while (result == ZTInt_transport_Done && count != size);
    return result;
}

// A failed read or write says what the system said, also when no catalog gives the
// message its text (the bare message then shows only the errno's number).
void Add_System_Text(const Fnd_Condition& condition, Fnd_String& image)
{
    const Hst_Sys_Call_Error* failure = Hst_Sys_Call_Error::Convert(condition.Get_Error());
    if (failure == nullptr || failure->Errno == 0)
        return;
    const Fnd_String text = Hst_Strerror(failure->Errno);
    if (text.Is_Empty() || image.Find(text.Data()) >= 0)
        return;
    image.Append(u": ");
    image.Append(text);
}

}  // namespace

int Set_Result(const Fnd_Condition& condition, int& result, char** error)
{
    *error = nullptr;
    result = ZTInt_transport_Done;
    if (!condition.Failed())
        return result;
    result = ZTInt_transport_Failed;
    Fnd_String image;
    condition.Image(image, Fnd_Detail_Normal, 0, 1, 1, 1, Fnd_Message::Default_Message_Separator());
    Add_System_Text(condition, image);
    AdMbcsString bytes;
    if (bytes.cvtFromTchar(AdCharset::getDefaultCharset(), image, AdCharset::cvt_stop) && bytes.getData() != nullptr)
        *error = ZTInt_String_New(bytes.getData());
    else
        *error = ZTInt_String_New("unconvertible failure text");
    return result;
}

void ZTInt_transport_Start_Full(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg)
{
    handle->Data = reinterpret_cast<char*>(msg);
    handle->Length = ZTInt_msg_Full_Size(msg);
    handle->Last_Count = -1;
}

void ZTInt_transport_Start_Data(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg)
{
    handle->Data = ZTInt_msg_Data_Addr(msg);
    handle->Length = ZTInt_msg_Data_Size(msg);
    handle->Last_Count = -1;
}

int ZTInt_transport_Data_Done(const ZTInt_RPC_Handle* handle)
{
    return handle->Length == 0;
}

int ZTInt_transport_Send(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg, char** error)
{
    *error = nullptr;
    ZTInt_transport_Start_Full(handle, msg);
    for (;;) {
        const int result = Step(handle, false, error);
        if (result != ZTInt_transport_Done || handle->Length == 0)
            return result;
    }
}

int ZTInt_transport_Send_Atomic(ZTInt_RPC_Handle* handle, const ZTInt_msg_struct* msg,
                                char** error)
{
    *error = nullptr;
    return Write_Whole(handle, msg, ZTInt_msg_Full_Size(msg), error);
}

int ZTInt_transport_Send_Header(ZTInt_RPC_Handle* handle, const ZTInt_msg_struct* msg,
                                char** error)
{
    *error = nullptr;
    return Write_Whole(handle, msg, kHeaderSize, error);
}

int ZTInt_transport_Send_Data(ZTInt_RPC_Handle* handle, const ZTInt_msg_struct*, char** error)
{
    *error = nullptr;
    return Step(handle, false, error);
}

int ZTInt_transport_Recv_Data(ZTInt_RPC_Handle* handle, ZTInt_msg_struct*, char** error)
{
    *error = nullptr;
    return Step(handle, true, error);
}

int ZTInt_transport_Recv_Header(ZTInt_RPC_Handle* handle, ZTInt_msg_struct** msg_out,
                                char** error, int wait)
{
    *error = nullptr;
    ZTInt_msg_struct header;
    bool dropped = false;  // a short read was dropped while waiting
    for (;;) {
        Fnd_Condition condition;
        const long count = Hst_Filesystem::Read(handle->Read_File, &header, kHeaderSize, condition);
        handle->Last_Count = static_cast<int32_t>(count);
        int result;
        if (Set_Result(condition, result, error) != ZTInt_transport_Done)
            return result;
        if (count == kHeaderSize)
            break;
        if (count == 0 && !dropped) {
            *error = ZTInt_String_New("no data");
            return ZTInt_transport_No_Data;
        }
        // Without wait the header must come in one read; with wait a short read is
        // dropped and the next starts over, but end of file ends the wait.
        if (!wait || count == 0)
            return Fail(error, "incomplete data");
        dropped = true;
    }
    if (ZTInt_msg_Check(error, &header) != 0 || ZTInt_msg_Check_Size(error, &header) != 0)
        return ZTInt_transport_Failed;
    *msg_out = ZTInt_msg_Alloc(&header);
    return ZTInt_transport_Done;
}

int ZTInt_transport_Recv(ZTInt_RPC_Handle* handle, ZTInt_msg_struct** msg_out, char** error)
{
    *error = nullptr;
    const int result = ZTInt_transport_Recv_Header(handle, msg_out, error, 0);
    if (result != ZTInt_transport_Done)
        return result;
    ZTInt_transport_Start_Data(handle, *msg_out);
    while (handle->Length != 0) {
        const int step = Step(handle, true, error);
        if (step != ZTInt_transport_Done)
            return step;
    }
    return ZTInt_transport_Done;
}
