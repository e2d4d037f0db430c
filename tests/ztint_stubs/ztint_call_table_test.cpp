// The generated call table against the rules of the numbering and against the codec's own
// class names, so that a row lost, doubled or mistyped in ztint_calls.def shows up here.
#include "ztint_client/ztint_call_table.h"

#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ztint_signatures.h"
#include "ztint_utils/ztint_message.h"

namespace {

int32_t Class_Of(const ZTInt_call_entry& entry)
{
    return entry.Opcode >> ZTInt_msg_Class_Shift;
}

int32_t Method_Of(const ZTInt_call_entry& entry)
{
    return entry.Opcode & ZTInt_msg_Method_Mask;
}

std::vector<ZTInt_rpc_type> List(const ZTInt_rpc_type* types, int32_t count)
{
    return std::vector<ZTInt_rpc_type>(types, types + count);
}

// "ZTSession" -> "Session"
std::string Short_Name(int32_t class_number)
{
    return std::string(ZTInt_msg_Class_Name_Of(class_number)).substr(2);
}

}  // namespace

TEST(CallTable, HoldsEveryCallOnceInOpcodeOrder)
{
    std::map<ZTInt_call_kind, int> kinds;
    std::set<std::string> names;
    for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i) {
        const ZTInt_call_entry& entry = ZTInt_Call_Table[i];
        ++kinds[entry.Kind];
        EXPECT_TRUE(names.insert(entry.Name).second) << entry.Name;
        if (i > 0) {
            EXPECT_LT(ZTInt_Call_Table[i - 1].Opcode, entry.Opcode) << entry.Name;
        }
        EXPECT_EQ(ZTInt_call_Find(entry.Opcode), &entry);
        EXPECT_EQ(ZTInt_call_Find_Name(entry.Name), &entry);
        const int32_t cls = Class_Of(entry);
        switch (entry.Kind) {
        case ZTInt_call_Special: EXPECT_LE(cls, 1) << entry.Name; break;
        case ZTInt_call_Generic: EXPECT_LE(Method_Of(entry), 2) << entry.Name; [[fallthrough]];
        case ZTInt_call_Row: EXPECT_TRUE(cls >= 2 && cls <= 53) << entry.Name; break;
        case ZTInt_call_Declared: EXPECT_TRUE(cls >= 54 && cls <= 62) << entry.Name; break;
        }
        EXPECT_NE(Method_Of(entry), 3) << "method 3 is the local GetObject: " << entry.Name;
        EXPECT_LE(Method_Of(entry), 142) << entry.Name;
    }
    EXPECT_EQ(kinds[ZTInt_call_Row], 829);
    EXPECT_EQ(kinds[ZTInt_call_Generic], 2 * 52);
    EXPECT_EQ(kinds[ZTInt_call_Declared], 102);
    EXPECT_EQ(kinds[ZTInt_call_Special], 4);
    EXPECT_EQ(ZTInt_call_Find(3), nullptr);
    EXPECT_EQ(ZTInt_call_Find(38 * 1024 + 3), nullptr);
    EXPECT_EQ(ZTInt_call_Find(32775), nullptr);  // ZTProductInfo has no methods 7 to 9
    EXPECT_EQ(ZTInt_call_Find(32777), nullptr);
    EXPECT_EQ(ZTInt_call_Find(-1), nullptr);
    EXPECT_EQ(ZTInt_call_Find((ZTInt_Call_Table[ZTInt_Call_Table_Size - 1].Opcode | 1023) + 1), nullptr);
    EXPECT_EQ(ZTInt_call_Find(INT32_MAX), nullptr);
    EXPECT_EQ(ZTInt_call_Find_Name("ZTInt_Session_GetObject"), nullptr);
}

// Names carry the class that the opcode gives, as the codec names it; the handle at the
// head of the in list is of that class; lists end with 0 after their counted entries.
TEST(CallTable, ListsAgreeWithNamesAndOpcodes)
{
    size_t longest = 0;
    std::string longest_name;
    for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i) {
        const ZTInt_call_entry& entry = ZTInt_Call_Table[i];
        const std::string name = entry.Name;
        const int32_t cls = Class_Of(entry);
        ASSERT_EQ(entry.Types_In[entry.In_Count], 0) << name;
        ASSERT_EQ(entry.Types_Out[entry.Out_Count], 0) << name;
        const auto in = List(entry.Types_In, entry.In_Count);
        const auto out = List(entry.Types_Out, entry.Out_Count);
        for (ZTInt_rpc_type type : in) {
            EXPECT_TRUE(ZTInt_rpc_type_Is_Valid(type) && type != 1) << name;
        }
        ASSERT_TRUE(out.size() == 1 || out.size() == 2) << name;
        EXPECT_EQ(out[0], ZTInt_rpc_type_status) << name;
        if (out.size() == 2) {
            EXPECT_TRUE(ZTInt_rpc_type_Is_Valid(out[1]) && out[1] != 1) << name;
        }
        if (in.size() > longest) longest = in.size(), longest_name = name;
        if (entry.Kind == ZTInt_call_Special) continue;

        const std::string cls_name = ZTInt_msg_Class_Name_Of(cls);
        const bool own = name.rfind(cls_name + "_", 0) == 0 ||
                         name.rfind("ZTInt_" + Short_Name(cls) + "_", 0) == 0;
        EXPECT_TRUE(own) << name << " in class " << cls_name;
        if (name == cls_name + "_Build") {
            EXPECT_TRUE(in.empty()) << name;
            EXPECT_EQ(out, (std::vector<ZTInt_rpc_type>{1, cls + 20})) << name;
        } else {
            ASSERT_FALSE(in.empty()) << name;
            EXPECT_EQ(in[0], cls + 20) << name;
        }
    }
    EXPECT_EQ(longest, 8u);
    EXPECT_EQ(longest_name, "ZTAdminSession_InstallAddDbSetEx");
}

// Rows that are easy to mistype, and the exported lists that are the table's own.
TEST(CallTable, RowsThatAreEasyToMistype)
{
    using L = std::vector<ZTInt_rpc_type>;
    const struct {
        const char* name;
        int32_t opcode;
        L in, out;
    } rows[] = {  // opcodes as class * 1024 + method, written out independently of the table
        {"ZTEmailRules_GetRule", 12 * 1024 + 6, {32, 63}, {1, 33}},  // ResultSet: class 43, code 63
        {"ZTSession_GetEntityByDbId", 38 * 1024 + 14, {58, 5, 3}, {1, 33}},
        {"ZTAdminSession_Unbuild", 2 * 1024 + 5, {22}, {1}},
        {"ZTZentrak_SessionLogon", 7 * 1024 + 10, {27, 5, 5, 5, 5, 5, 3}, {1, 58}},
        {"ZTZentrak_EchoString", 7 * 1024 + 19, {27, 5}, {1, 5}},
        {"ZTInt_ResultSet_Free", 43 * 1024 + 1, {63}, {1}},
        {"ZTPermission_IsSamePermission", 0, {74, 74}, {1, 4}},
        {"ZTEntity_SetFieldValue", 0, {}, {1, 5}},
        {"ZTResultSet_MoveNext", 0, {}, {1, 3}},
        {"ZTEntityDef_DoesTransitionExist", 0, {}, {1, 6}},
        {"ZTInt_Exporter_Duplicate", 0, {}, {1, 82}},
        // Class 0 and 1: no handle.
        {"ZTInt_Special_Startup_Stub", 0, {5}, {1}},
        {"ZTInt_Special_Shutdown_Stub", 0, {}, {1}},
        {"ZTInt_GetError", 1 * 1024 + 1, {}, {1, 5}},
        {"ZTInt_SetError", 0, {5}, {1}},
    };
    for (const auto& row : rows) {
        const ZTInt_call_entry* entry = ZTInt_call_Find_Name(row.name);
        ASSERT_NE(entry, nullptr) << row.name;
        if (row.opcode != 0) {
            EXPECT_EQ(ZTInt_call_Find(row.opcode), entry) << row.name;
        }
        if (!row.in.empty() || entry->Kind == ZTInt_call_Special) {  // {}: not checked
            EXPECT_EQ(List(entry->Types_In, entry->In_Count), row.in) << row.name;
        }
        EXPECT_EQ(List(entry->Types_Out, entry->Out_Count), row.out) << row.name;
    }
    EXPECT_EQ(ZTInt_call_Find(38 * 1024 + 14)->Types_In, ZTSession_GetEntityByDbId_Types_In);
    EXPECT_EQ(ZTInt_call_Find(38 * 1024 + 14)->Types_Out, ZTSession_GetEntityByDbId_Types_Out);
    EXPECT_EQ(ZTInt_call_Find(43 * 1024 + 1)->Types_In, ZTInt_ResultSet_Free_Types_In);
    EXPECT_EQ(ZTInt_call_Find(1 * 1024 + 1)->Types_Out, ZTInt_GetError_Types_Out);
    EXPECT_EQ(ZTInt_call_Find(62 * 1024 + 5)->Types_Out, ZTExporter_GetXMLData_Types_Out);
}

// The 19 lists share one shape: Count, Item, a keyed lookup, and Add where it exists.
TEST(CallTable, CollectionsHaveTheCommonShape)
{
    struct Collection {
        int32_t cls;
        int32_t element;
        const char* lookup;
        bool add;
    };
    const Collection collections[] = {
        {4, 3, "ItemByName", true},    {6, 5, "ItemByName", true},   {9, 8, "ItemByName", true},
        {11, 10, "ItemByName", true},  {15, 14, "ItemByName", true}, {18, 17, "ItemByName", true},
        {20, 19, "ItemByName", false}, {23, 22, "ItemByName", true}, {25, 24, "ItemByName", true},
        {27, 26, "ItemByName", true},  {29, 28, "ItemByName", true}, {31, 30, "ItemByName", true},
        {34, 33, "ItemByName", false}, {36, 35, "ItemByName", false}, {40, 39, "ItemByName", true},
        {42, 41, "ItemByName", true},  {45, 44, "ItemByName", true}, {51, 13, "ItemByDbId", true},
        {53, 52, "ItemByName", false},
    };
    using L = std::vector<ZTInt_rpc_type>;
    for (const Collection& c : collections) {
        const std::string cls = ZTInt_msg_Class_Name_Of(c.cls);
        const ZTInt_rpc_type code = c.cls + 20;
        const ZTInt_rpc_type element = c.element + 20;
        const ZTInt_call_entry* count = ZTInt_call_Find(c.cls * 1024 + 4);
        const ZTInt_call_entry* item = ZTInt_call_Find(c.cls * 1024 + 5);
        const ZTInt_call_entry* lookup = ZTInt_call_Find(c.cls * 1024 + 6);
        const ZTInt_call_entry* add = ZTInt_call_Find(c.cls * 1024 + 7);
        ASSERT_TRUE(count && item && lookup) << cls;
        EXPECT_EQ(count->Name, cls + "_Count");
        EXPECT_EQ(List(count->Types_Out, count->Out_Count), (L{1, 3})) << cls;
        EXPECT_EQ(item->Name, cls + "_Item");
        EXPECT_EQ(List(item->Types_In, item->In_Count), (L{code, 3})) << cls;
        EXPECT_EQ(List(item->Types_Out, item->Out_Count), (L{1, element})) << cls;
        EXPECT_EQ(lookup->Name, cls + "_" + c.lookup);
        const ZTInt_rpc_type key = std::string(c.lookup) == "ItemByDbId" ? 3 : 5;
        EXPECT_EQ(List(lookup->Types_In, lookup->In_Count), (L{code, key})) << cls;
        EXPECT_EQ(List(lookup->Types_Out, lookup->Out_Count), (L{1, element})) << cls;
        if (c.add) {
            ASSERT_TRUE(add) << cls;
            EXPECT_EQ(add->Name, cls + "_Add");
            EXPECT_EQ(List(add->Types_In, add->In_Count), (L{code, element})) << cls;
            EXPECT_EQ(add->Out_Count, 1) << cls;
        } else if (add) {
            EXPECT_NE(add->Name, cls + "_Add");
        }
    }
    EXPECT_EQ(ZTInt_call_Find(53 * 1024 + 7), nullptr);  // ZTFolders stops at method 6
}

// Build (method 4) and Unbuild (method 5, the handle alone) exist in five classes only.
// From their Build calls every class with calls is reached through results, except
// ZTEventObject, which no call returns.
TEST(CallTable, EveryClassIsReachedFromTheBuildCalls)
{
    std::set<std::string> built;
    std::vector<int32_t> pending;
    for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i) {
        const ZTInt_call_entry& entry = ZTInt_Call_Table[i];
        const std::string name = entry.Name;
        const std::string cls_name = ZTInt_msg_Class_Name_Of(Class_Of(entry));
        if (entry.Kind == ZTInt_call_Row && entry.In_Count == 0) {
            EXPECT_EQ(name, cls_name + "_Build");
            EXPECT_EQ(Method_Of(entry), 4) << name;
            built.insert(cls_name);
            pending.push_back(Class_Of(entry));
        }
        if (name == cls_name + "_Unbuild") {
            EXPECT_EQ(Method_Of(entry), 5) << name;
            EXPECT_EQ(entry.In_Count, 1);
            EXPECT_EQ(entry.Out_Count, 1);
            EXPECT_TRUE(built.count(cls_name)) << name;
        }
    }
    EXPECT_EQ(built, (std::set<std::string>{"ZTAdminSession", "ZTZentrak", "ZTEmailRules",
                                            "ZTMailMsg", "ZTSession"}));
    std::set<int32_t> reached;
    while (!pending.empty()) {
        const int32_t cls = pending.back();
        pending.pop_back();
        if (!reached.insert(cls).second) continue;
        for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i) {
            const ZTInt_call_entry& entry = ZTInt_Call_Table[i];
            if (Class_Of(entry) == cls && entry.Out_Count == 2 &&
                ZTInt_rpc_type_Is_Object(entry.Types_Out[1]))
                pending.push_back(entry.Types_Out[1] - 20);
        }
    }
    std::set<int32_t> missing;
    for (int32_t cls = 2; cls <= 53; ++cls)
        if (!reached.count(cls)) missing.insert(cls);
    EXPECT_EQ(missing, (std::set<int32_t>{16}));
    // The declared classes whose handles reach callers.
    for (int32_t cls : {54, 55, 56, 61, 62}) {
        EXPECT_TRUE(reached.count(cls)) << cls;
    }
}
