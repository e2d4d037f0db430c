/* A C99 program against the public header and the shared library: the C forms of the
 * calls, the exported type lists, the string helpers and the calls that need no server. */
#include <stdio.h>
#include <string.h>

#include "ztint.h"

/* LONG and BOOL are 32 bits. */
typedef char long_is_32_bits[sizeof(ZTInt_LONG) == 4 ? 1 : -1];
typedef char bool_is_32_bits[sizeof(ZTInt_BOOL) == 4 ? 1 : -1];

/* Each pointer below has exactly the type of the call it is set to; a call whose C form
 * differs is a compile error, not a warning, with -pedantic-errors. */
static void check_forms(void)
{
    int32_t (*get_entity_by_db_id)(ZTSession*, ZTEntity**, const char*, ZTInt_LONG) =
        ZTSession_GetEntityByDbId;
    int32_t (*build)(ZTZentrak**) = ZTZentrak_Build;
    int32_t (*unbuild)(ZTZentrak*) = ZTZentrak_Unbuild;
    int32_t (*logon)(ZTZentrak*, ZTSession**, const char*, const char*, const char*,
                     const char*, const char*, ZTInt_LONG) = ZTZentrak_SessionLogon;
    int32_t (*set_list_members)(ZTSession*, const char*, char* const*) =
        ZTSession_SetListMembers;
    int32_t (*transition_exists)(ZTEntityDef*, char***, const char*, const char*) =
        ZTEntityDef_DoesTransitionExist;
    int32_t (*end_transaction)(ZTSession*, ZTInt_BOOL) = ZTSession_EndTransaction;
    int32_t (*build_exporter)(ZTSession*, ZTExporter**) = ZTSession_BuildExporter;
    int32_t (*duplicate_entity)(ZTEntity*, ZTEntity**) = ZTInt_Entity_Duplicate;
    void (*set_error)(const char*) = ZTInt_SetError;
    (void)get_entity_by_db_id, (void)build, (void)unbuild, (void)logon, (void)set_list_members;
    (void)transition_exists, (void)end_transaction, (void)build_exporter, (void)duplicate_entity;
    (void)set_error;
}

static int failures = 0;

static void check(int ok, const char* what)
{
    if (!ok) {
        fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

static int list_is(const int32_t* list, const int32_t* want, int count)
{
    int i;
    for (i = 0; i < count; ++i)
        if (list[i] != want[i]) return 0;
    return list[count] == 0;
}

static void test_lists(void)
{
    static const int32_t by_db_id_in[] = {58, 5, 3};
    static const int32_t logon_in[] = {27, 5, 5, 5, 5, 5, 3};
    static const int32_t logon_out[] = {1, 58};
    static const int32_t xml_out[] = {1, 5};
    static const int32_t get_error_out[] = {1, 5};
    check(list_is(ZTSession_GetEntityByDbId_Types_In, by_db_id_in, 3), "GetEntityByDbId in list");
    check(list_is(ZTZentrak_SessionLogon_Types_In, logon_in, 7), "SessionLogon in list");
    check(list_is(ZTZentrak_SessionLogon_Types_Out, logon_out, 2), "SessionLogon out list");
    check(list_is(ZTExporter_GetXMLData_Types_Out, xml_out, 2), "declared class out list");
    check(list_is(ZTInt_GetError_Types_Out, get_error_out, 2), "GetError out list");
    check(ZTInt_GetError_Types_In[0] == 0, "GetError in list is empty");
    check(ZTZentrak_Build_Types_In[0] == 0, "Build has no handle");
}

static void test_strings(void)
{
    char* text = ZTInt_String_New("ab");
    char** array = ZTInt_StringArray_Alloc(2);
    char** copy;
    ZTInt_String_Append(&text, "cd");
    check(strcmp(text, "abcd") == 0 && ZTInt_String_Length(text) == 4, "String_Append");
    ZTInt_StringArray_Set(array, 0, text);
    ZTInt_StringArray_Set(array, 1, ZTInt_String_Alloc(0));
    array[1][0] = '\0';
    copy = ZTInt_StringArray_Duplicate(array);
    check(ZTInt_StringArray_Size(copy) == 2, "StringArray_Size of a copy");
    check(copy[0] != array[0] && strcmp(ZTInt_StringArray_At_Ref(copy, 0), "abcd") == 0,
          "StringArray_Duplicate copies deeply");
    check(ZTInt_String_Is_Empty(ZTInt_StringArray_At_Ref(copy, 1)), "empty element");
    ZTInt_StringArray_Free(array);
    ZTInt_StringArray_Free(copy);
    ZTInt_StringArray_Free(NULL);
    ZTInt_String_Free(NULL);
}

static void test_local_calls(void)
{
    void* object = &failures;
    char* first = NULL;
    char* second = NULL;
    int32_t (*free_session)(ZTSession*) = ZTInt_Session_Free;
    int32_t (*folders_get_object)(ZTFolders*, void**) = ZTInt_Folders_GetObject;
    void (*get_error)(char**) = ZTInt_GetError;
    check(free_session(NULL) == 0, "Free of a null handle");
    check(folders_get_object(NULL, &object) == -1, "GetObject fails");
    get_error(&first);
    get_error(&second);
    check(first != NULL && strcmp(first, "unsupported operation: ZTInt_Folders_GetObject") == 0,
          "GetObject leaves its text");
    check(second != NULL && second != first && first != NULL && strcmp(first, second) == 0,
          "the text is read twice, as two copies");
    ZTInt_String_Free(first);
    ZTInt_String_Free(second);
    ZTInt_Check_Booleans();
    libztintsvr_print_verid();
    libztintsvr_sprintf_verid();
}

int main(void)
{
    check_forms();
    test_lists();
    test_strings();
    test_local_calls();
    if (failures == 0) printf("C interface: all checks passed\n");
    return failures == 0 ? 0 : 1;
}
