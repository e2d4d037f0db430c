// SQL queries (ZTSession_BuildSQLQuery) over the views, and the injection corpus: SQL
// that writes, attaches, reads outside the views or runs a function with effects is
// refused and changes nothing; filter values of every shape match literally.
#include <sqlite3.h>
#include <unistd.h>

#include <chrono>

#include "tests/e2e/ztint_query_support.h"
#include "tests/support/ztint_pg_database.h"

namespace {

class Ztint_Sql_Query_Test : public Ztint_Query_Test {
protected:
    // Every row of every table of the store, as text: what "nothing changed" compares.
    std::string Store_Contents() const
    {
        if (Pg != nullptr)
            return Pg->Value(
                "SELECT string_agg(c.relkind::text || ' ' || c.relname || E'\\n' || query_to_xml(format('SELECT * FROM %I "
                "ORDER BY 1', c.relname), true, false, '')::text, E'\\n' ORDER BY c.relname) FROM pg_class AS c "
                "WHERE c.relnamespace = 'public'::regnamespace AND c.relkind IN ('r', 'v')");
        sqlite3* db = nullptr;
        EXPECT_EQ(sqlite3_open_v2(Store.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
        std::vector<std::string> tables;
        sqlite3_exec(
            db, "SELECT name FROM sqlite_master WHERE type IN ('table', 'view', 'index', 'trigger') ORDER BY name",
            [](void* list, int, char** values, char**) {
                static_cast<std::vector<std::string>*>(list)->push_back(values[0]);
                return 0;
            },
            &tables, nullptr);
        std::string contents;
        for (const std::string& table : tables) {
            contents += "== " + table + "\n";
            const std::string sql = "SELECT * FROM \"" + table + "\"";
            sqlite3_exec(
                db, sql.c_str(),
                [](void* text, int count, char** values, char**) {
                    for (int i = 0; i < count; ++i)
                        *static_cast<std::string*>(text) += std::string(values[i] != nullptr ? values[i] : "NULL") + "|";
                    *static_cast<std::string*>(text) += "\n";
                    return 0;
                },
                &contents, nullptr);
        }
        sqlite3_close(db);
        return contents;
    }

    // The rows of a SQL query, or the server's refusal as the only row.
    Ztint_Rows Sql(const std::string& sql)
    {
        ZTResultSet* set = nullptr;
        if (ZTSession_BuildSQLQuery(Session, &set, sql.c_str()) != 0)
            return {{Server_Error()}};
        Ztint_Rows rows = Rows(set);
        ZTInt_ResultSet_Free(set);
        return rows;
    }
};

TEST_F(Ztint_Sql_Query_Test, SqlReadsTheViewsOfTheRecordTypesAndUsers)
{
    EXPECT_EQ(Sql("SELECT Headline, Severity FROM Defect WHERE Severity = '2-Major'"),
              (Ztint_Rows{{"50% slower", "2-Major"}}));
    EXPECT_EQ(Sql("SELECT d.Headline, u.fullname FROM Defect AS d JOIN users AS u ON u.login = d.Owner "
                  "ORDER BY d.dbid"),
              (Ztint_Rows{{"50% slower", "zentrak"}, {"under_score", "zentrak"}}));
    EXPECT_EQ(Sql("select count(*), max(length(Headline)) from Defect; -- how many\n"),
              (Ztint_Rows{{"4", "34"}}));
    EXPECT_EQ(Sql("SELECT p.Name, count(d.id) FROM Project p LEFT JOIN Defect d ON d.Project = p.id "
                  "GROUP BY p.Name ORDER BY p.Name"),
              (Ztint_Rows{{"Apollo", "1"}, {"Gemini", "1"}}));
    EXPECT_EQ(Sql("SELECT Description FROM Defect WHERE Description IS NOT NULL"), (Ztint_Rows{{"line1\nline2"}}));
    EXPECT_EQ(Sql("SELECT id, State FROM Defect WHERE id = '" + Ids["D"] + "'"), (Ztint_Rows{{Ids["D"], "Submitted"}}));

    ZTResultSet* set = nullptr;
    ASSERT_EQ(ZTSession_BuildSQLQuery(Session, &set, "SELECT id AS ident, Headline FROM Defect"), 0);
    ZTInt_LONG number = 0;
    char* text = nullptr;
    EXPECT_EQ(ZTResultSet_GetNumberOfColumns(set, &number), 0);
    EXPECT_EQ(number, 2);
    EXPECT_EQ(ZTResultSet_GetColumnLabel(set, &text, 1), 0);
    EXPECT_EQ(Ztint_Take(text), "ident");
    EXPECT_EQ(ZTResultSet_GetSQL(set, &text), 0);
    EXPECT_EQ(Ztint_Take(text), "SELECT id AS ident, Headline FROM Defect");
    EXPECT_EQ(ZTResultSet_ExecuteAndCountRecords(set, &number), 0);
    EXPECT_EQ(number, 4);
    ZTInt_ResultSet_Free(set);
}

TEST_F(Ztint_Sql_Query_Test, TheInjectionCorpusIsRefusedAndChangesNothing)
{
    const std::string evil = Dir + "/evil.db", copy = Dir + "/copy.db", written = Dir + "/written";
    const std::vector<std::string> corpus = {
        "DELETE FROM zt_records",
        "SELECT 1; DELETE FROM zt_records",
        "SELECT * FROM Defect; DROP TABLE zt_records",
        "SELECT 1 /* a comment */; DELETE FROM zt_records",
        "SELECT * FROM Defect WHERE 1 = 1 -- ' OR 1 = 1\n; DELETE FROM zt_records",
        "BEGIN; DELETE FROM zt_records; COMMIT",
        "SELECT id FROM Defect; SELECT 1",
        "UPDATE Defect SET Headline = 'x'",
        "INSERT INTO Defect(Headline) VALUES('x')",
        "REPLACE INTO Defect(id) VALUES('x')",
        "DELETE FROM Defect",
        "DROP VIEW Defect",
        "DROP TABLE zt_users",
        "CREATE TABLE evil(x)",
        "CREATE TEMP TABLE evil(x)",
        "CREATE TEMP VIEW evil AS SELECT * FROM zt_users",
        "CREATE TRIGGER t AFTER INSERT ON zt_records BEGIN DELETE FROM zt_records; END",
        "ATTACH DATABASE '" + evil + "' AS evil",
        "SELECT * FROM Defect; ATTACH '" + evil + "' AS evil",
        "DETACH DATABASE main",
        "VACUUM INTO '" + copy + "'",
        "VACUUM",
        "REINDEX",
        "ANALYZE",
        "SAVEPOINT a",
        "PRAGMA writable_schema = 1",
        "PRAGMA table_info(zt_users)",
        "PRAGMA journal_mode = DELETE",
        "SELECT * FROM pragma_table_info('zt_users')",
        "SELECT load_extension('" + Dir + "/evil.so')",
        "SELECT writefile('" + written + "', 'x')",
        "SELECT fts3_tokenizer('simple')",
        "SELECT zeroblob(1000000000)",
        "SELECT randomblob(1000000000)",
        "SELECT password_hash FROM zt_users",
        "SELECT id FROM Defect UNION SELECT password_hash FROM zt_users",
        "SELECT id FROM Defect UNION ALL SELECT value FROM zt_values",
        "SELECT id FROM Defect WHERE id IN (SELECT login FROM zt_users)",
        "SELECT * FROM zt_records AS Defect",
        "SELECT * FROM main.zt_records",
        "SELECT * FROM sqlite_master",
        "SELECT * FROM sqlite_temp_master",
        "SELECT * FROM temp.sqlite_master",
        "SELECT data FROM zt_attachments",
        "WITH Defect AS (SELECT password_hash AS id FROM zt_users) SELECT id FROM Defect",
        "WITH users AS (SELECT * FROM zt_users) SELECT * FROM users",
        "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT x FROM c",
        "EXPLAIN SELECT * FROM Defect",
        "EXPLAIN QUERY PLAN SELECT * FROM Defect",
        "",
        "   -- only a comment",
    };
    ASSERT_GE(corpus.size(), 30u);
    const std::string before = Store_Contents();
    ASSERT_NE(before.find("50% slower"), std::string::npos);
    for (const std::string& sql : corpus) {
        ZTResultSet* set = nullptr;
        EXPECT_EQ(ZTSession_BuildSQLQuery(Session, &set, sql.c_str()), -1) << sql;
        EXPECT_EQ(set, nullptr) << sql;
        const std::string error = Server_Error();
        EXPECT_EQ(error.rfind("ZTSession_BuildSQLQuery: the SQL is refused: ", 0), 0u) << sql << "\n" << error;
        EXPECT_NE(error.find("reads only the views"), std::string::npos) << error;
        ZTInt_ResultSet_Free(set);
    }
    EXPECT_EQ(Store_Contents(), before);
    for (const std::string& path : {evil, copy, written})
        EXPECT_NE(access(path.c_str(), F_OK), 0) << path;
    // The server still answers, and a plain read still works.
    EXPECT_EQ(Sql("SELECT count(*) FROM Defect"), (Ztint_Rows{{"4"}}));
}

TEST_F(Ztint_Sql_Query_Test, RefusalsSayWhy)
{
    const struct {
        const char* Sql;
        const char* Why;
    } cases[] = {
        {"SELECT password_hash FROM zt_users", "\"zt_users\" is not one of the views"},
        {"DELETE FROM zt_records", "only reading is allowed"},
        {"DELETE FROM Defect",
         Ztint_E2E_On_Postgres() ? "only reading is allowed" : "cannot modify Defect because it is a view"},
        {"PRAGMA table_info(zt_users)", "PRAGMA is not allowed"},
        {"SELECT load_extension('x')", "the function load_extension is not allowed"},
        {"SELECT 1; SELECT 2", "only one statement is allowed"},
        {"ATTACH 'x' AS y", "ATTACH and DETACH are not allowed"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(Sql(each.Sql), (Ztint_Rows{{std::string("ZTSession_BuildSQLQuery: the SQL is refused: ") + each.Why +
                                              "; a SQL query reads only the views of the record types and users"}}))
            << each.Sql;
}

// Values that would break SQL pasted into text are plain values of a bound parameter.
TEST_F(Ztint_Sql_Query_Test, FilterValuesOfEveryShapeMatchLiterally)
{
    const std::vector<std::string> values = {
        "'", "''", "\"", "%", "_", "\\", ";", "' OR '1'='1", "' OR 1=1 --", "'; DELETE FROM zt_records; --",
        "\"; DROP TABLE zt_values; --", "1) OR (1=1", "%' OR '%'='", "') UNION SELECT password_hash FROM zt_users --",
        "ATTACH DATABASE 'x' AS y", "PRAGMA writable_schema=1", "*/ SELECT 1 /*", "NULL", "\n", "Ü ü 日本",
        "x' ESCAPE '", "_%_%", "[a-z]*", "$1", "?1", ":name", "@p", "\x01", "A\tB", "0x41",
    };
    const std::string before = Store_Contents();
    for (const ZTInt_LONG op : {ZTInt_COMP_EQUAL, ZTInt_COMP_LIKE, ZTInt_COMP_IN}) {
        for (const std::string& value : values) {
            ZTQueryDef* query = Build({"Headline"});
            ZTQueryFilterNode* top = nullptr;
            ASSERT_EQ(ZTQueryDef_BuildFilterOperator(query, &top, ZTInt_BOOL_OR), 0);
            ASSERT_EQ(Ztint_Filter(top, "Headline", op, {value}), 0) << value << ": " << Server_Error();
            ASSERT_EQ(Ztint_Filter(top, "Owner.fullname", op, {value}), 0) << value << ": " << Server_Error();
            // Only "like" finds a headline holding the value; nothing else matches it.
            const std::string expected = op != ZTInt_COMP_LIKE  ? ""
                                         : value == "'" || value == ";" ? "C"
                                         : value == "%"                 ? "B"
                                         : value == "_"                 ? "CD"
                                                                        : "";
            EXPECT_EQ(Letters(query), expected) << "operator " << op << " value " << value;
            ZTInt_QueryFilterNode_Free(top);
            ZTInt_QueryDef_Free(query);
        }
    }
    EXPECT_EQ(Store_Contents(), before);
}

// A query that would run for hours is stopped after ZT_SERVER_QUERY_SECONDS, and the
// server goes on answering.
class Ztint_Query_Time_Test : public Ztint_Sql_Query_Test {
protected:
    void SetUp() override
    {
        setenv("ZT_SERVER_QUERY_SECONDS", "1", 1);  // read by the server this test starts
        Ztint_Sql_Query_Test::SetUp();
    }
    void TearDown() override
    {
        Ztint_Sql_Query_Test::TearDown();
        unsetenv("ZT_SERVER_QUERY_SECONDS");
    }
};

TEST_F(Ztint_Query_Time_Test, ARunawayQueryIsStoppedAndTheServerGoesOn)
{
    std::string sql = "SELECT count(*) FROM Defect AS d0";
    for (int i = 1; i < 14; ++i)
        sql += ", Defect AS d" + std::to_string(i);  // 4^14 rows
    for (const bool count : {false, true}) {
        ZTResultSet* set = nullptr;
        ASSERT_EQ(ZTSession_BuildSQLQuery(Session, &set, sql.c_str()), 0) << Server_Error();
        ZTInt_LONG number = 0;
        const auto start = std::chrono::steady_clock::now();
        if (count) {
            EXPECT_EQ(ZTResultSet_ExecuteAndCountRecords(set, &number), -1);
            EXPECT_EQ(Server_Error(), "ZTResultSet_ExecuteAndCountRecords: the query ran longer than 1 s and was stopped");
        } else {
            ASSERT_EQ(ZTResultSet_Execute(set), 0);
            EXPECT_EQ(ZTResultSet_MoveNext(set, &number), -1);
            EXPECT_EQ(Server_Error(), "ZTResultSet_MoveNext: the query ran longer than 1 s and was stopped");
            EXPECT_EQ(ZTResultSet_MoveNext(set, &number), 0);  // the stopped cursor does not start again
            EXPECT_EQ(number, ZTInt_FETCH_NO_MORE_ROWS);
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
        ZTInt_ResultSet_Free(set);
    }
    EXPECT_EQ(Sql("SELECT count(*) FROM Defect"), (Ztint_Rows{{"4"}}));
}

}  // namespace
