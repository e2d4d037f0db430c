// Starting the server: the library needs no set-up by its user. When nobody reads the
// user's pipe, "<product home>/bin/ztintsvr start" runs and ends only once a server
// reads the pipe (or with a failure); the library waits for the command, never for
// the server.
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_sys_call_error.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_process.h"
#include "foundation/host/hst_switches.h"
#include "ztint_string.h"
#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_text.h"
#include "ztint_utils/ztint_transport.h"

namespace {

// The longest a start command may take; one still running then is killed.
constexpr long kStartLimitMs = 60 * 1000;

Fnd_String Product_Shlib()
{
    Fnd_String shlib = Hst_Switches::Product_Home_Switch_Value();
    shlib += u"/shlib";
    return shlib;
}

// first, then ":" and rest unless rest is empty.
Fnd_String Path_List(const Fnd_String& first, const Fnd_String& rest)
{
    Fnd_String list = first;
    if (!rest.Is_Empty()) {
        if (!list.Is_Empty())
            list += u":";
        list += rest;
    }
    return list;
}

// The first line of what was written to fd, at most 1 KiB of it.
Fnd_String First_Line_Of(int fd)
{
    char text[1024];
    const ssize_t count = pread(fd, text, sizeof text - 1, 0);
    if (count <= 0)
        return Fnd_String();
    text[count] = '\0';
    text[std::strcspn(text, "\n")] = '\0';
    return ZTInt_Wide(text);
}

}  // namespace

void Internal_Server_Pre_Exec(void*, Fnd_Condition& condition)
{
    condition.Clear();
    Hst_Switches::Set_Env_Library_Path(
        Path_List(Product_Shlib(), Hst_Switches::Env_Library_Path_Switch_Value()));
    Hst_Filesystem::Set_Working_Directory(Hst_Switches::Env_Tmpdir_Switch_Value(), condition);
}

void Internal_Start_Server(Fnd_Condition& condition)
{
    Fnd_String path = Hst_Switches::Get_Product_Bin_Dir();
    path += u"/ztintsvr";
    const Code_Unit* argv[] = {path.Data(), u"start", nullptr};
    long pid = 0;
    int status = 0;
    // What the start command says on its standard error is kept, to tell why it failed.
    const int said = memfd_create("ztintsvr-start", MFD_CLOEXEC);
    Hst_Process::Run(argv, nullptr, nullptr, pid, status, condition, -1, -1, said, 1,
                     Internal_Server_Pre_Exec, nullptr, 0, 1, kStartLimitMs);
    const Fnd_String reason = said >= 0 ? First_Line_Of(said) : Fnd_String();
    if (said >= 0)
        close(said);
    if (condition.Failed() || status == 0)
        return;
    Fnd_String doing = u"starting server ";
    doing += path;
    if (!reason.Is_Empty()) {
        doing += u" (";
        doing += reason;
        doing += u")";
    }
    doing += u",";
    condition.Set(new Fnd_Sys_Call_Error(u"exec", status, doing, 0));
}

int ZTInt_Start_Server(char** error)
{
    Fnd_Condition condition;
    Internal_Start_Server(condition);
    int result;
    return Set_Result(condition, result, error);
}

void ZTInt_Add_Library_Paths(char** paths, int with_product, char**)
{
    Fnd_String value = Hst_Switches::Env_Library_Path_Switch_Value();
    if (with_product != 0)
        value = Path_List(Product_Shlib(), value);
    for (char** path = paths; path != nullptr && *path != nullptr; ++path)
        value = Path_List(value, ZTInt_Wide(*path));
    Hst_Switches::Set_Env_Library_Path(value);
}
