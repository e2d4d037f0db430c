// Helpers for the tests of the tracking calls: a logged-on session and short forms of
// the record calls, each checking its status.
#pragma once

#include <string>
#include <vector>

#include "tests/e2e/ztint_e2e_fixture.h"
#include "ztint.h"
#include "ztint_values.h"

// The strings of a string array, which is freed.
std::vector<std::string> Ztint_Take(char** array);
// The text of a string, which is freed; "(null)" for NULL.
std::string Ztint_Take(char* text);

class Ztint_Tracker_Test : public Ztint_E2E {
protected:
    void SetUp() override;
    void TearDown() override;

    // A new session of the default user, or NULL with a failure recorded.
    static ZTSession* Logon(const char* user = "zentrak", const char* password = "zentrak");
public:
    static ZTSession* Logon_Default() { return Logon(); }

protected:

    // A new record of type with the values set, committed; its id, or "" with a
    // failure recorded.
    std::string Submit(const std::vector<std::pair<std::string, std::string>>& values,
                       const char* type = "Defect");
    ZTEntity* Get(const std::string& id, const char* type = "Defect");
    // The field's value as text (list values one per line).
    static std::string Value(ZTEntity* entity, const char* field);
    // SetFieldValue's answer, "" when taken.
    static std::string Set(ZTEntity* entity, const char* field, const std::string& value);
    static std::string Commit(ZTEntity* entity);
    // Starts action on the stored record; "" or the server's text.
    std::string Edit(ZTEntity* entity, const char* action);
    // The lines of the record's history (ZTHistory_GetValue of each entry).
    static std::vector<std::string> History(ZTEntity* entity);

    ZTZentrak* Zentrak = nullptr;
    ZTSession* Session = nullptr;
};
