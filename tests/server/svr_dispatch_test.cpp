// The server's answers, message in and message out, without sockets.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "server/svr_dispatch.h"
#include "tests/support/ztint_temp_dir.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_string.h"

namespace {

constexpr int32_t kClientPid = 4321;
constexpr int32_t kServerPid = 777;

class Svr_Dispatch_Test : public ::testing::Test {
protected:
    void SetUp() override { setenv("ZT_SERVER_STORE", (Store_Dir.Path + "/store.db").c_str(), 1); }

    ZTInt_Temp_Dir Store_Dir;
    Svr_Objects Objects{kServerPid};
    Mdl_Server Model{{Svr_Users::Default_Store(), ZTINT_SOURCE_DIR "/server/schemas/sample.json"}};
    Svr_Dispatcher Dispatcher{Objects, Model, "9.8.7"};
    Svr_Client_State Client{1, ""};
    int32_t Sequence = 1;

    // Sends a call with the given in-values; the values of the reply by the out list, or
    // NULL when the answer is an Error message.
    std::unique_ptr<Svr_Values> Call_Raw(int32_t opcode, int count, const ZTInt_rpc_type* types,
                                         const void* const* in, const ZTInt_call_entry& row)
    {
        ZTInt_msg_struct* call = nullptr;
        char* error = nullptr;
        EXPECT_EQ(ZTInt_msg_Encode(&call, &error, count, types, in), count);
        ZTInt_String_Free(error);
        ZTInt_msg_Init_Call(call, kClientPid, ++Sequence, opcode);
        ZTInt_msg_struct* answer = Dispatcher.Answer(Client, call);
        ZTInt_msg_Free(call);
        EXPECT_EQ(answer->Pid, kClientPid);
        EXPECT_EQ(answer->Sequence, Sequence);
        EXPECT_EQ(answer->Procedure, opcode);
        auto out = std::make_unique<Svr_Values>(row.Types_Out, row.Out_Count);
        if (answer->Type == ZTInt_msg_type_Reply) {
            EXPECT_EQ(answer->Param_Count, out->Count());
            EXPECT_EQ(ZTInt_msg_Decode_Reply(answer, &error, out->Count(), out->Types(), out->Pointers()), 1)
                << (error ? error : "");
            ZTInt_String_Free(error);
        } else {
            EXPECT_EQ(answer->Type, ZTInt_msg_type_Error);
            EXPECT_EQ(answer->Data_Size, 0);
            out.reset();
        }
        ZTInt_msg_Free(answer);
        return out;
    }

    // The call of name; its status, and the reply's values in out if given.
    int32_t Call(const char* name, const void* const* in = nullptr,
                 std::unique_ptr<Svr_Values>* out = nullptr)
    {
        const ZTInt_call_entry* entry = ZTInt_call_Find_Name(name);
        EXPECT_NE(entry, nullptr) << name;
        std::unique_ptr<Svr_Values> values = Call_Raw(entry->Opcode, entry->In_Count, entry->Types_In, in, *entry);
        EXPECT_NE(values, nullptr) << name;
        const int32_t status = values ? values->Number(0) : -100;
        if (out != nullptr) *out = std::move(values);
        return status;
    }

    ZTInt_obj_struct Build()
    {
        std::unique_ptr<Svr_Values> out;
        EXPECT_EQ(Call("ZTZentrak_Build", nullptr, &out), 0);
        return out->Object(1);
    }

    std::string Last_Error()
    {
        std::unique_ptr<Svr_Values> out;
        EXPECT_EQ(Call("ZTInt_GetError", nullptr, &out), 0);
        return out->Text(1);
    }

    int32_t Logon(const ZTInt_obj_struct& zentrak, const char* user, const char* password,
                  const char* database, const char* master, ZTInt_obj_struct* session = nullptr)
    {
        const int32_t flags = 14;
        const char* client_id = "";
        const void* in[] = {&zentrak, &client_id, &user, &password, &database, &master, &flags};
        std::unique_ptr<Svr_Values> out;
        const int32_t status = Call("ZTZentrak_SessionLogon", in, &out);
        if (session != nullptr) *session = out->Object(1);
        return status;
    }
};

TEST_F(Svr_Dispatch_Test, BuildEchoAndVersionWorkOnTheServersOwnHandles)
{
    const ZTInt_obj_struct zentrak = Build();
    EXPECT_EQ(zentrak.Type, ZTInt_call_Find_Name("ZTZentrak_Build")->Types_Out[1]);
    EXPECT_EQ(zentrak.Owner_Pid, kServerPid);
    EXPECT_NE(zentrak.Id, 0u);

    const char* text = "h\xC3\xA9llo";
    const void* echo_in[] = {&zentrak, &text};
    std::unique_ptr<Svr_Values> out;
    EXPECT_EQ(Call("ZTZentrak_EchoString", echo_in, &out), 0);
    EXPECT_STREQ(out->Text(1), "h\xC3\xA9llo");

    const void* info_in[] = {&zentrak};
    ASSERT_EQ(Call("ZTZentrak_CreateProductInfo", info_in, &out), 0);
    const ZTInt_obj_struct product = out->Object(1);
    const void* version_in[] = {&product};
    EXPECT_EQ(Call("ZTProductInfo_GetProductVersion", version_in, &out), 0);
    EXPECT_STREQ(out->Text(1), "9.8.7");
}

TEST_F(Svr_Dispatch_Test, UnsupportedCallsGetAWellFormedRefusalAndTheirText)
{
    const ZTInt_obj_struct zentrak = Build();
    const void* in[] = {&zentrak};
    std::unique_ptr<Svr_Values> out;
    EXPECT_EQ(Call("ZTZentrak_IsUnix", in, &out), -1);
    EXPECT_EQ(out->Number(1), 0);
    EXPECT_EQ(Last_Error(), "ZTZentrak_IsUnix: not supported by this server");
    // Every row of the table answers with its own out-list, whatever it is.
    int rows = 0;
    std::string last;
    for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i) {
        const ZTInt_call_entry& entry = ZTInt_Call_Table[i];
        // A Build takes no handle and makes an object without one.
        const std::string name = entry.Name;
        if (entry.Kind != ZTInt_call_Row || name.rfind("ZTZentrak_", 0) == 0 ||
            name.ends_with("_Build"))
            continue;
        Svr_Values nil_in(entry.Types_In, entry.In_Count);
        out = Call_Raw(entry.Opcode, entry.In_Count, entry.Types_In, nil_in.Pointers(), entry);
        ASSERT_NE(out, nullptr) << entry.Name;
        ASSERT_EQ(out->Number(0), -1) << entry.Name;
        ++rows;
        last = entry.Name;
    }
    EXPECT_GT(rows, 700);
    EXPECT_EQ(Last_Error(), last + ": not supported by this server");
}

TEST_F(Svr_Dispatch_Test, MalformedCallsGetAnErrorMessage)
{
    const ZTInt_call_entry& echo = *ZTInt_call_Find_Name("ZTZentrak_EchoString");
    EXPECT_EQ(Call_Raw(7 * 1024 + 1000, 0, nullptr, nullptr, echo), nullptr);  // no such opcode
    // A string where the row wants a handle first.
    const ZTInt_rpc_type wrong[] = {ZTInt_rpc_type_String, ZTInt_rpc_type_String};
    const char* first = "not a handle";
    const char* second = "x";
    const void* in[] = {&first, &second};
    EXPECT_EQ(Call_Raw(echo.Opcode, 2, wrong, in, echo), nullptr);
}

TEST_F(Svr_Dispatch_Test, HandlesBelongToTheirClientAndDieWithFree)
{
    const ZTInt_obj_struct zentrak = Build();
    const void* in[] = {&zentrak};
    std::unique_ptr<Svr_Values> duplicate;
    ASSERT_EQ(Call("ZTInt_Zentrak_Duplicate", in, &duplicate), 0);
    EXPECT_NE(duplicate->Object(1).Id, zentrak.Id);

    Svr_Client_State stranger{2, ""};
    std::swap(Client, stranger);
    EXPECT_EQ(Call("ZTInt_Zentrak_Free", in), -1);
    EXPECT_EQ(Last_Error(), "ZTInt_Zentrak_Free: the handle names no object of this client");
    std::swap(Client, stranger);

    EXPECT_EQ(Call("ZTInt_Zentrak_Free", in), 0);
    EXPECT_EQ(Call("ZTInt_Zentrak_Free", in), -1);
    EXPECT_EQ(Objects.Count(), 1u);
    Dispatcher.Client_Gone(Client);
    EXPECT_EQ(Objects.Count(), 0u);
}

TEST_F(Svr_Dispatch_Test, LogonChecksTheUserStore)
{
    const ZTInt_obj_struct zentrak = Build();
    ZTInt_obj_struct session{};
    EXPECT_EQ(Logon(zentrak, "zentrak", "zentrak", "DEMO", "MASTER", &session), 0);
    EXPECT_EQ(session.Type, ZTInt_call_Find_Name("ZTZentrak_SessionLogon")->Types_Out[1]);

    EXPECT_EQ(Logon(zentrak, "zentrak", "wrong", "DEMO", "MASTER", &session), -1);
    EXPECT_EQ(session.Type, 0);
    EXPECT_EQ(Last_Error(), "ztintsvr: logon refused for user \"zentrak\": wrong user name or password");
    EXPECT_EQ(Logon(zentrak, "zentrak", "zentrak", "DEMO", ""), -1);
    EXPECT_EQ(Last_Error(),
              "ztintsvr: logon refused for user \"zentrak\": no database \"DEMO\" in database set \"\"");
    EXPECT_EQ(Logon(zentrak, "", "", "", ""), -1);
    EXPECT_EQ(Last_Error(), "ztintsvr: logon refused: no user name given");
}

TEST_F(Svr_Dispatch_Test, ErrorTextIsKeptPerClientAndCanBeSet)
{
    const char* text = "set by the client";
    const void* in[] = {&text};
    EXPECT_EQ(Call("ZTInt_SetError", in), 0);
    EXPECT_EQ(Last_Error(), "set by the client");
    EXPECT_EQ(Last_Error(), "set by the client");  // reading doesn't clear it
    EXPECT_FALSE(Dispatcher.Shutdown_Requested());
    EXPECT_EQ(Call("ZTInt_Special_Shutdown_Stub"), 0);
    EXPECT_TRUE(Dispatcher.Shutdown_Requested());
}

TEST(Svr_Users_Test, LoadsEntriesAndRejectsBrokenLines)
{
    const std::string path = ::testing::TempDir() + "svr_users_test.users";
    std::ofstream(path) << "# users of the test\n\nann secret DB1 SET\nann secret DB2 SET\n";
    Svr_Users users;
    std::string error;
    ASSERT_TRUE(Svr_Users::Load(path, users, error)) << error;
    EXPECT_EQ(users.Entries().size(), 2u);
    EXPECT_EQ(users.Check("ann", "secret", "DB2", "SET"), "");
    EXPECT_NE(users.Check("zentrak", "zentrak", "DEMO", "MASTER"), "");

    std::ofstream(path) << "ann secret DB1\n";
    EXPECT_FALSE(Svr_Users::Load(path, users, error));
    EXPECT_NE(error.find(":1: an entry has four fields"), std::string::npos) << error;
    std::remove(path.c_str());

    ASSERT_TRUE(Svr_Users::Load(path, users, error));  // missing: the default user
    EXPECT_EQ(users.Check("zentrak", "zentrak", "DEMO", "MASTER"), "");
}

}  // namespace

namespace {

// Record handles: another kind's type code, another client, or freed: each refused
// with status -1 and a text, never a crash.
TEST_F(Svr_Dispatch_Test, RecordHandlesAreCheckedForKindOwnerAndLife)
{
    const ZTInt_obj_struct zentrak = Build();
    ZTInt_obj_struct session{};
    ASSERT_EQ(Logon(zentrak, "zentrak", "zentrak", "DEMO", "MASTER", &session), 0) << Last_Error();
    const char* type = "Defect";
    const void* build_in[] = {&session, &type};
    std::unique_ptr<Svr_Values> out;
    ASSERT_EQ(Call("ZTSession_BuildEntity", build_in, &out), 0) << Last_Error();
    const ZTInt_obj_struct entity = out->Object(1);

    ZTInt_obj_struct retyped = entity;
    retyped.Type = session.Type;  // the record's id under the session's type
    const void* names_in[] = {&retyped};
    EXPECT_EQ(Call("ZTSession_GetEntityDefNames", names_in, &out), -1);
    EXPECT_EQ(Last_Error(), "ZTSession_GetEntityDefNames: the handle names no object of this client");

    Svr_Client_State other{2, ""};
    std::swap(Client, other);
    const void* display_in[] = {&entity};
    EXPECT_EQ(Call("ZTEntity_GetDisplayName", display_in, &out), -1);
    std::swap(Client, other);
    EXPECT_EQ(other.Last_Error, "ZTEntity_GetDisplayName: the handle names no object of this client");

    EXPECT_EQ(Call("ZTInt_Entity_Free", display_in, &out), 0);
    EXPECT_EQ(Call("ZTEntity_GetDisplayName", display_in, &out), -1);
    EXPECT_EQ(Last_Error(), "ZTEntity_GetDisplayName: the handle names no object of this client");
}

}  // namespace
