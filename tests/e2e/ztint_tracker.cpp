#include "tests/e2e/ztint_tracker.h"

std::vector<std::string> Ztint_Take(char** array)
{
    std::vector<std::string> texts;
    for (long i = 0; i < ZTInt_StringArray_Size(array); ++i)
        texts.emplace_back(ZTInt_StringArray_At_Ref(array, i));
    ZTInt_StringArray_Free(array);
    return texts;
}

std::string Ztint_Take(char* text)
{
    std::string result = text != nullptr ? text : "(null)";
    ZTInt_String_Free(text);
    return result;
}

void Ztint_Tracker_Test::SetUp()
{
    Ztint_E2E::SetUp();
    ASSERT_EQ(ZTZentrak_Build(&Zentrak), 0) << Server_Error();
    Session = Logon();
    ASSERT_NE(Session, nullptr) << Server_Error();
}

void Ztint_Tracker_Test::TearDown()
{
    ZTInt_Session_Free(Session);
    ZTInt_Zentrak_Free(Zentrak);
    Ztint_E2E::TearDown();
}

ZTSession* Ztint_Tracker_Test::Logon(const char* user, const char* password)
{
    ZTZentrak* zentrak = nullptr;
    ZTSession* session = nullptr;
    if (ZTZentrak_Build(&zentrak) != 0)
        return nullptr;
    ZTZentrak_SessionLogon(zentrak, &session, "", user, password, "DEMO", "MASTER", 0);
    ZTInt_Zentrak_Free(zentrak);
    return session;
}

std::string Ztint_Tracker_Test::Submit(const std::vector<std::pair<std::string, std::string>>& values,
                                       const char* type)
{
    ZTEntity* entity = nullptr;
    if (ZTSession_BuildEntity(Session, &entity, type) != 0) {
        ADD_FAILURE() << Server_Error();
        return "";
    }
    for (const auto& [field, value] : values)
        EXPECT_EQ(Set(entity, field.c_str(), value), "") << field;
    const std::string refusal = Commit(entity);
    EXPECT_EQ(refusal, "");
    const std::string id = refusal.empty() ? Value(entity, "id") : "";
    ZTInt_Entity_Free(entity);
    return id;
}

ZTEntity* Ztint_Tracker_Test::Get(const std::string& id, const char* type)
{
    ZTEntity* entity = nullptr;
    EXPECT_EQ(ZTSession_GetEntity(Session, &entity, type, id.c_str()), 0) << Server_Error();
    return entity;
}

std::string Ztint_Tracker_Test::Value(ZTEntity* entity, const char* field)
{
    char* text = nullptr;
    const int32_t status = ZTEntity_GetFieldStringValue(entity, &text, field);
    std::string value = Ztint_Take(text);
    return status == 0 ? value : "(failed: " + Server_Error() + ")";
}

std::string Ztint_Tracker_Test::Set(ZTEntity* entity, const char* field, const std::string& value)
{
    char* answer = nullptr;
    const int32_t status = ZTEntity_SetFieldValue(entity, &answer, field, value.c_str());
    std::string reason = Ztint_Take(answer);
    return status == 0 ? reason : "(failed: " + Server_Error() + ")";
}

std::string Ztint_Tracker_Test::Commit(ZTEntity* entity)
{
    char* answer = nullptr;
    const int32_t status = ZTEntity_Commit(entity, &answer);
    std::string reason = Ztint_Take(answer);
    return status == 0 ? reason : "(failed: " + Server_Error() + ")";
}

std::string Ztint_Tracker_Test::Edit(ZTEntity* entity, const char* action)
{
    return ZTSession_EditEntity(Session, entity, action) == 0 ? "" : Server_Error();
}

std::vector<std::string> Ztint_Tracker_Test::History(ZTEntity* entity)
{
    std::vector<std::string> lines;
    ZTHistoryFields* fields = nullptr;
    ZTHistoryField* field = nullptr;
    ZTHistories* histories = nullptr;
    ZTInt_LONG count = 0;
    if (ZTEntity_GetHistoryFields(entity, &fields) != 0 || ZTHistoryFields_Item(fields, &field, 0) != 0 ||
        ZTHistoryField_GetHistories(field, &histories) != 0 || ZTHistories_Count(histories, &count) != 0)
        ADD_FAILURE() << Server_Error();
    for (ZTInt_LONG i = 0; i < count; ++i) {
        ZTHistory* history = nullptr;
        char* text = nullptr;
        EXPECT_EQ(ZTHistories_Item(histories, &history, i), 0);
        EXPECT_EQ(ZTHistory_GetValue(history, &text), 0);
        lines.push_back(Ztint_Take(text));
        ZTInt_History_Free(history);
    }
    ZTInt_Histories_Free(histories);
    ZTInt_HistoryField_Free(field);
    ZTInt_HistoryFields_Free(fields);
    return lines;
}
