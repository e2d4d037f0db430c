/* The numbers with a meaning to callers of libztint: what a LONG result of the record,
 * record type and field calls stands for. The server, the zt command and applications
 * all use these names; the numbers are fixed for good once released. */
#ifndef ZTINT_VALUES_H
#define ZTINT_VALUES_H

/* The type of a field (ZTEntity_GetFieldType, ZTEntityDef_GetFieldDefType,
 * ZTFieldInfo_GetType). */
enum ZTInt_Field_Type {
    ZTInt_FIELD_SHORT_STRING = 1,     /* one line of text, with a maximum length */
    ZTInt_FIELD_MULTILINE_STRING = 2, /* free text */
    ZTInt_FIELD_INTEGER = 3,
    ZTInt_FIELD_DATE_TIME = 4,        /* "YYYY-MM-DD HH:MM:SS", UTC */
    ZTInt_FIELD_REFERENCE = 5,        /* the id of one record, or a user's login name */
    ZTInt_FIELD_REFERENCE_LIST = 6,   /* several of those */
    ZTInt_FIELD_ATTACHMENT_LIST = 7,
    ZTInt_FIELD_ID = 8,               /* the record's display id */
    ZTInt_FIELD_STATE = 9,
    ZTInt_FIELD_JOURNAL = 10,         /* text that each edit appends to */
    ZTInt_FIELD_DBID = 11,
    ZTInt_FIELD_RECORD_TYPE = 12,
    ZTInt_FIELD_HISTORY = 13
};

/* What a field needs in the record's current state (ZTEntity_GetFieldRequiredness,
 * ZTEntityDef_GetFieldRequiredness, ZTFieldInfo_GetRequiredness). */
enum ZTInt_Requiredness {
    ZTInt_MANDATORY = 1,
    ZTInt_OPTIONAL = 2,
    ZTInt_READONLY = 3
};

/* The kind of an action (ZTEntityDef_GetActionDefType, ZTEntity_GetActionType). */
enum ZTInt_Action_Type {
    ZTInt_ACTION_SUBMIT = 1,
    ZTInt_ACTION_MODIFY = 2,       /* changes fields, keeps the state */
    ZTInt_ACTION_CHANGE_STATE = 3,
    ZTInt_ACTION_DUPLICATE = 4,
    ZTInt_ACTION_UNDUPLICATE = 5,
    ZTInt_ACTION_DELETE = 6,
    ZTInt_ACTION_NONE = 0          /* ZTEntity_GetActionType of a record not being edited */
};

/* What a user may do beyond working on records (ZTUser_GetUserPrivilege,
 * ZTUser_SetUserPrivilege). Superusers and user maintainers administer users, groups
 * and subscriptions; only a superuser grants or takes the superuser privilege and
 * creates databases. */
enum ZTInt_Privilege {
    ZTInt_PRIV_SUPER_USER = 1,
    ZTInt_PRIV_USER_MAINTAINER = 2,
    ZTInt_PRIV_APP_BUILDER = 3  /* changes schemas */
};

/* The flags of ZTSession_GetAllUsers and ZTSession_GetAllGroups: without it, only
 * active users and groups are listed. */
enum ZTInt_List_Flags {
    ZTInt_LIST_INCLUDE_INACTIVE = 1
};

/* The kind of a record type (ZTEntityDef_GetType, ZTEntity_GetType). */
enum ZTInt_Entity_Kind {
    ZTInt_ENTITY_STATEFUL = 1,  /* has states and moves between them by actions */
    ZTInt_ENTITY_STATELESS = 2
};

/* Whether a field has a value (ZTFieldInfo_GetValueStatus). */
enum ZTInt_Value_Status {
    ZTInt_HAS_NO_VALUE = 1,
    ZTInt_HAS_VALUE = 2
};

/* Whether a field's value is acceptable (ZTFieldInfo_GetValidationStatus). */
enum ZTInt_Validation_Status {
    ZTInt_KNOWN_INVALID = 1,
    ZTInt_KNOWN_VALID = 2
};

/* Whether a field takes values outside its choice list (ZTEntity_GetFieldChoiceType). */
enum ZTInt_Choice_Type {
    ZTInt_CHOICE_NONE = 0,    /* the field has no choice list */
    ZTInt_CHOICE_CLOSED = 1,  /* only the listed values */
    ZTInt_CHOICE_OPEN = 2     /* the list suggests; any value is taken */
};

/* How a query filter compares a field with its values (ZTQueryFilterNode_BuildFilter,
 * ZTFieldFilter_GetCompOp, ZTResultSet_GetParamComparisonOperator). Values always match
 * literally: "like" means "contains", case-insensitive for ASCII letters, and %, _ and
 * quotes in a value are plain characters. A field without a value is "null"; it matches
 * "not equal", "not like" and "not in". */
enum ZTInt_Comp_Op {
    ZTInt_COMP_EQUAL = 1,
    ZTInt_COMP_NOT_EQUAL = 2,
    ZTInt_COMP_LESS = 3,
    ZTInt_COMP_LESS_OR_EQUAL = 4,
    ZTInt_COMP_GREATER = 5,
    ZTInt_COMP_GREATER_OR_EQUAL = 6,
    ZTInt_COMP_LIKE = 7,            /* one value */
    ZTInt_COMP_NOT_LIKE = 8,
    ZTInt_COMP_BETWEEN = 9,         /* two values, both ends included */
    ZTInt_COMP_NOT_BETWEEN = 10,
    ZTInt_COMP_IS_NULL = 11,        /* no values */
    ZTInt_COMP_IS_NOT_NULL = 12,
    ZTInt_COMP_IN = 13,             /* one value or more */
    ZTInt_COMP_NOT_IN = 14
};

/* How the conditions of a filter node combine (ZTQueryDef_BuildFilterOperator,
 * ZTFilterNode_GetBoolOp). */
enum ZTInt_Bool_Op {
    ZTInt_BOOL_AND = 1,
    ZTInt_BOOL_OR = 2
};

/* What ZTResultSet_MoveNext and ZTResultSet_MoveAbsolute answer. */
enum ZTInt_Fetch_Status {
    ZTInt_FETCH_ROW = 1,        /* the result set stands on a row */
    ZTInt_FETCH_NO_MORE_ROWS = 2
};

/* The sort of a query's column (ZTQueryFieldDef_GetSortType). */
enum ZTInt_Sort_Type {
    ZTInt_SORT_NONE = 0,
    ZTInt_SORT_ASCENDING = 1,
    ZTInt_SORT_DESCENDING = 2
};

/* The kind of a query (ZTQueryDef_GetQueryType). */
enum ZTInt_Query_Type {
    ZTInt_QUERY_LIST = 1,  /* fields and a filter of one record type */
    ZTInt_QUERY_SQL = 2    /* SQL over the views (ZTSession_BuildSQLQuery) */
};

/* Which saved queries ZTWorkSpaceMgr_GetQueryList lists. */
enum ZTInt_Query_List {
    ZTInt_QUERIES_ALL = 1,
    ZTInt_QUERIES_PUBLIC = 2,
    ZTInt_QUERIES_PERSONAL = 3
};

#endif
