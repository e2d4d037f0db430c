// Attachments, duplicates, links, field information and deletion through the public
// C interface.
#include <fstream>
#include <iterator>
#include <random>

#include "tests/e2e/ztint_tracker.h"

namespace {

std::string Read_All(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

using Ztint_Attachment_Test = Ztint_Tracker_Test;

TEST_F(Ztint_Attachment_Test, FilesRoundTripByteForByte)
{
    // 10 MB of every byte value, and an empty file.
    std::string big(10 * 1024 * 1024, '\0');
    std::mt19937 random(7);
    for (char& byte : big)
        byte = static_cast<char>(random());
    const std::string big_path = Dir + "/big.bin", empty_path = Dir + "/empty.txt";
    std::ofstream(big_path, std::ios::binary) << big;
    std::ofstream(empty_path, std::ios::binary).flush();

    ZTEntity* defect = nullptr;
    ASSERT_EQ(ZTSession_BuildEntity(Session, &defect, "Defect"), 0);
    EXPECT_EQ(Set(defect, "Headline", "with files"), "");
    char* answer = nullptr;
    for (const auto& [path, description] : {std::pair{big_path, "core dump"}, std::pair{empty_path, ""}}) {
        ASSERT_EQ(ZTEntity_AddAttachmentFieldValue(defect, &answer, "Attachments", path.c_str(), description), 0);
        EXPECT_EQ(Ztint_Take(answer), "");
    }
    // Refused at the call, not at commit.
    const struct {
        std::string Path;
        std::string Reason;
    } refused[] = {
        {Dir + "/missing", "Attachments: cannot attach " + Dir + "/missing: No such file or directory"},
        {Dir, "Attachments: cannot attach " + Dir + ": not a regular file"},
        {big_path, "Attachments: an attachment named big.bin is there already"},
    };
    for (const auto& r : refused) {
        ASSERT_EQ(ZTEntity_AddAttachmentFieldValue(defect, &answer, "Attachments", r.Path.c_str(), "x"), 0);
        EXPECT_EQ(Ztint_Take(answer), r.Reason);
    }
    ASSERT_EQ(ZTEntity_AddAttachmentFieldValue(defect, &answer, "Headline", big_path.c_str(), "x"), 0);
    EXPECT_EQ(Ztint_Take(answer), "Headline: not an attachment field");
    ASSERT_EQ(Commit(defect), "");
    const std::string id = Value(defect, "id");
    ZTInt_Entity_Free(defect);

    defect = Get(id);
    ZTAttachmentFields* fields = nullptr;
    ZTAttachmentField* field = nullptr;
    ZTAttachments* attachments = nullptr;
    ZTAttachment* attachment = nullptr;
    ZTInt_LONG number = 0;
    ASSERT_EQ(ZTEntity_GetAttachmentFields(defect, &fields), 0);
    ASSERT_EQ(ZTAttachmentFields_ItemByName(fields, &field, "Attachments"), 0);
    ASSERT_EQ(ZTAttachmentField_GetAttachments(field, &attachments), 0);
    ASSERT_EQ(ZTAttachments_Count(attachments, &number), 0);
    EXPECT_EQ(number, 2);
    ASSERT_EQ(ZTAttachments_ItemByName(attachments, &attachment, "big.bin"), 0);
    EXPECT_EQ(ZTAttachment_GetFileSize(attachment, &number), 0);
    EXPECT_EQ(number, 10 * 1024 * 1024);
    ASSERT_EQ(ZTAttachment_GetDescription(attachment, &answer), 0);
    EXPECT_EQ(Ztint_Take(answer), "core dump");
    ZTInt_BOOL loaded = 0;
    ASSERT_EQ(ZTAttachment_Load(attachment, &loaded, (Dir + "/out1.bin").c_str()), 0) << Server_Error();
    EXPECT_EQ(loaded, 1);
    EXPECT_TRUE(Read_All(Dir + "/out1.bin") == big);
    ASSERT_EQ(ZTEntity_LoadAttachment(defect, &number, "Attachments", "empty.txt", (Dir + "/out2").c_str()), 0);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(Read_All(Dir + "/out2"), "");
    EXPECT_EQ(ZTEntity_LoadAttachment(defect, &number, "Attachments", "big.bin", "/nonexistent/dir/file"), -1);
    EXPECT_EQ(Server_Error(), "ZTEntity_LoadAttachment: cannot write /nonexistent/dir/file: No such file or directory");
    EXPECT_EQ(Value(defect, "Attachments"), "big.bin\nempty.txt");

    // Deleting one is an edit like any other, with its history entry.
    ASSERT_EQ(Edit(defect, "Modify"), "");
    ASSERT_EQ(ZTEntity_DeleteAttachmentFieldValue(defect, &answer, "Attachments", "big.bin"), 0);
    EXPECT_EQ(Ztint_Take(answer), "");
    EXPECT_EQ(Commit(defect), "");
    EXPECT_EQ(Value(defect, "Attachments"), "empty.txt");
    const std::vector<std::string> history = History(defect);
    ASSERT_EQ(history.size(), 2u);
    EXPECT_NE(history[1].find("Attachments: big.bin\nempty.txt -> empty.txt"), std::string::npos) << history[1];
    ZTInt_Attachment_Free(attachment);
    ZTInt_Attachments_Free(attachments);
    ZTInt_AttachmentField_Free(field);
    ZTInt_AttachmentFields_Free(fields);
    ZTInt_Entity_Free(defect);
}

TEST_F(Ztint_Attachment_Test, AFileGoneBeforeCommitLeavesTheRecordAsItWas)
{
    const std::string id = Submit({{"Headline", "stays as it was"}});
    const std::string path = Dir + "/vanishing.txt";
    std::ofstream(path) << "soon gone";
    ZTEntity* defect = Get(id);
    ASSERT_EQ(Edit(defect, "Modify"), "");
    EXPECT_EQ(Set(defect, "Headline", "half an edit"), "");
    char* answer = nullptr;
    ASSERT_EQ(ZTEntity_AddAttachmentFieldValue(defect, &answer, "Attachments", path.c_str(), ""), 0);
    EXPECT_EQ(Ztint_Take(answer), "");
    std::remove(path.c_str());
    EXPECT_EQ(Commit(defect), "cannot read the attachment " + path + ": No such file or directory");
    ZTEntity* stored = Get(id);
    EXPECT_EQ(Value(stored, "Headline"), "stays as it was");
    EXPECT_EQ(History(stored).size(), 1u);
    ZTInt_Entity_Free(stored);
    ZTInt_Entity_Free(defect);
}

TEST_F(Ztint_Attachment_Test, DuplicatesAreMarkedLinkedAndUnmarked)
{
    const std::string original_id = Submit({{"Headline", "the original"}});
    const std::string duplicate_id = Submit({{"Headline", "the same again"}});
    ZTEntity* original = Get(original_id);
    ZTEntity* duplicate = Get(duplicate_id);
    ASSERT_EQ(ZTSession_MarkEntityAsDuplicate(Session, duplicate, original, "Duplicate"), 0) << Server_Error();
    EXPECT_EQ(Value(duplicate, "State"), "Duplicate");
    ZTInt_BOOL flag = 0;
    EXPECT_EQ(ZTEntity_IsDuplicate(duplicate, &flag), 0);
    EXPECT_EQ(flag, 1);
    char* text = nullptr;
    ASSERT_EQ(ZTEntity_GetOriginalId(duplicate, &text), 0);
    EXPECT_EQ(Ztint_Take(text), original_id);
    EXPECT_EQ(ZTEntity_HasDuplicates(original, &flag), 0);
    EXPECT_EQ(flag, 1);

    ZTLinks* links = nullptr;
    ZTLink* link = nullptr;
    ZTInt_LONG count = 0;
    ASSERT_EQ(ZTEntity_GetDuplicates(original, &links), 0);
    ASSERT_EQ(ZTLinks_Count(links, &count), 0);
    ASSERT_EQ(count, 1);
    ASSERT_EQ(ZTLinks_Item(links, &link, 0), 0);
    ASSERT_EQ(ZTLink_GetChildEntityId(link, &text), 0);
    EXPECT_EQ(Ztint_Take(text), duplicate_id);
    ASSERT_EQ(ZTLink_GetParentEntityId(link, &text), 0);
    EXPECT_EQ(Ztint_Take(text), original_id);
    ASSERT_EQ(ZTLink_GetChildEntityDefName(link, &text), 0);
    EXPECT_EQ(Ztint_Take(text), "Defect");
    ZTEntity* child = nullptr;
    ASSERT_EQ(ZTLink_GetChildEntity(link, &child), 0);
    EXPECT_EQ(Value(child, "Headline"), "the same again");
    EXPECT_EQ(ZTLinks_Item(links, &link, 1), -1);
    EXPECT_EQ(Server_Error(), "ZTLinks_Item: no item 1 in a list of 1");

    // A record with duplicates is not deleted; a duplicate is unmarked by its action.
    ASSERT_EQ(ZTSession_DeleteEntity(Session, &text, original, "Delete"), 0);
    EXPECT_EQ(Ztint_Take(text), "record " + original_id + " has duplicates; unmark them first");
    EXPECT_EQ(ZTSession_MarkEntityAsDuplicate(Session, original, duplicate, "Duplicate"), -1);
    EXPECT_EQ(Server_Error(), "ZTSession_MarkEntityAsDuplicate: record " + duplicate_id + " is itself a duplicate");
    ASSERT_EQ(ZTSession_UnmarkEntityAsDuplicate(Session, duplicate, "Unduplicate"), 0) << Server_Error();
    EXPECT_EQ(Value(duplicate, "State"), "Submitted");
    EXPECT_EQ(ZTEntity_IsDuplicate(duplicate, &flag), 0);
    EXPECT_EQ(flag, 0);
    ASSERT_EQ(ZTEntity_Reload(original), 0);
    ASSERT_EQ(ZTSession_DeleteEntity(Session, &text, original, "Delete"), 0);
    EXPECT_EQ(Ztint_Take(text), "");
    ZTInt_BOOL exists = 1;
    EXPECT_EQ(ZTSession_EntityExists(Session, &exists, "Defect", original_id.c_str()), 0);
    EXPECT_EQ(exists, 0);
    EXPECT_EQ(ZTEntity_GetDbId(original, &count), -1);
    EXPECT_EQ(Server_Error(), "ZTEntity_GetDbId: the record was deleted");
    for (ZTEntity* entity : {original, duplicate, child})
        ZTInt_Entity_Free(entity);
    ZTInt_Link_Free(link);
    ZTInt_Links_Free(links);
}

TEST_F(Ztint_Attachment_Test, FieldInformationDescribesValuesAndTheirValidity)
{
    ZTEntity* defect = nullptr;
    ASSERT_EQ(ZTSession_BuildEntity(Session, &defect, "Defect"), 0);
    EXPECT_EQ(Set(defect, "Priority", "2-High"), "");
    ZTFieldInfos* invalid = nullptr;
    ZTFieldInfo* info = nullptr;
    ZTInt_LONG number = 0;
    char* text = nullptr;
    ASSERT_EQ(ZTEntity_GetInvalidFieldValues(defect, &invalid), 0);
    ASSERT_EQ(ZTFieldInfos_Count(invalid, &number), 0);
    EXPECT_EQ(number, 1);
    ASSERT_EQ(ZTFieldInfos_Item(invalid, &info, 0), 0);
    ASSERT_EQ(ZTFieldInfo_GetName(info, &text), 0);
    EXPECT_EQ(Ztint_Take(text), "Headline");
    EXPECT_EQ(ZTFieldInfo_GetValidationStatus(info, &number), 0);
    EXPECT_EQ(number, ZTInt_KNOWN_INVALID);
    EXPECT_EQ(ZTFieldInfo_GetValueStatus(info, &number), 0);
    EXPECT_EQ(number, ZTInt_HAS_NO_VALUE);
    ASSERT_EQ(ZTFieldInfo_GetMessageText(info, &text), 0);
    EXPECT_EQ(Ztint_Take(text), "Headline: a value is mandatory in state Submitted");
    ZTInt_FieldInfo_Free(info);

    ASSERT_EQ(ZTEntity_GetFieldValue(defect, &info, "Priority"), 0);
    EXPECT_EQ(ZTFieldInfo_GetRequiredness(info, &number), 0);
    EXPECT_EQ(number, ZTInt_OPTIONAL);
    ZTInt_BOOL changed = 0;
    EXPECT_EQ(ZTFieldInfo_ValueChangedThisAction(info, &changed), 0);
    EXPECT_EQ(changed, 1);
    ASSERT_EQ(ZTFieldInfo_GetValue(info, &text), 0);
    EXPECT_EQ(Ztint_Take(text), "2-High");
    ZTInt_FieldInfo_Free(info);

    char** names = nullptr;
    const char* const fields[] = {"Headline", "Severity", nullptr};
    const char* const values[] = {"set together", "1-Critical", nullptr};
    ASSERT_EQ(ZTEntity_SetFieldValues(defect, &names, const_cast<char* const*>(fields),
                                      const_cast<char* const*>(values)), 0);
    EXPECT_EQ(Ztint_Take(names), (std::vector<std::string>{"", ""}));
    EXPECT_EQ(ZTEntity_GetFieldType(defect, &number, "Submit_Date"), 0);
    EXPECT_EQ(number, ZTInt_FIELD_DATE_TIME);
    EXPECT_EQ(ZTEntity_GetFieldChoiceType(defect, &number, "Severity"), 0);
    EXPECT_EQ(number, ZTInt_CHOICE_CLOSED);
    EXPECT_EQ(ZTEntity_GetFieldRequiredness(defect, &number, "Submitter"), 0);
    EXPECT_EQ(number, ZTInt_READONLY);
    ASSERT_EQ(Commit(defect), "");
    ASSERT_EQ(ZTEntity_GetDisplayName(defect, &text), 0);
    EXPECT_EQ(Ztint_Take(text), Value(defect, "id"));
    ZTInt_FieldInfos_Free(invalid);
    ZTInt_Entity_Free(defect);
}

TEST_F(Ztint_Attachment_Test, DuplicatedHandlesShareTheRecordAndFreedOnesAreRefused)
{
    ZTEntity* defect = nullptr;
    ASSERT_EQ(ZTSession_BuildEntity(Session, &defect, "Defect"), 0);
    ZTEntity* copy = nullptr;
    ASSERT_EQ(ZTInt_Entity_Duplicate(defect, &copy), 0);
    ASSERT_EQ(ZTInt_Entity_Free(defect), 0);
    EXPECT_EQ(Set(copy, "Headline", "via the copy"), "");  // the copy names the same record
    ZTInt_Entity_Free(copy);
    // A freed record handle is refused.
    char* text = nullptr;
    EXPECT_EQ(ZTEntity_GetDisplayName(copy, &text), -1);
    EXPECT_EQ(text, nullptr);
}

}  // namespace
