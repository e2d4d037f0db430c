// PostgreSQL's client library, loaded when the first store on PostgreSQL opens rather
// than with the server. libpq brings some twenty libraries of its own (TLS, Kerberos,
// LDAP) whose loading and constructors cost every start of the server milliseconds,
// and most servers keep their records on SQLite.
//
//   Pq().PQexec(connection, "SELECT 1");
#pragma once

#include <libpq-fe.h>

// The functions of libpq that the store calls.
#define STO_LIBPQ_FUNCTIONS(X) \
    X(PQclear) X(PQcmdStatus) X(PQconnectdbParams) X(PQdescribePortal) X(PQerrorMessage) \
    X(PQexec) X(PQexecParams) X(PQexecPrepared) X(PQfinish) X(PQfname) X(PQfreemem) \
    X(PQftype) X(PQgetisnull) X(PQgetlength) X(PQgetvalue) X(PQnfields) X(PQntuples) \
    X(PQprepare) X(PQresultErrorField) X(PQresultErrorMessage) X(PQresultStatus) \
    X(PQsetNoticeProcessor) X(PQstatus) X(PQunescapeBytea)

// Each of them under its own name.
struct Sto_Libpq {
#define STO_LIBPQ_MEMBER(name) decltype(&::name) name = nullptr;
    STO_LIBPQ_FUNCTIONS(STO_LIBPQ_MEMBER)
#undef STO_LIBPQ_MEMBER
};

// The library, loaded on the first call; throws Sto_Error, the same on every call, when
// it can't be loaded.
[[nodiscard]] const Sto_Libpq& Pq();
