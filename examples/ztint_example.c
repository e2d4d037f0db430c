/* A first libztint program. With nothing set up, its first call starts the server;
 * it then logs on with the user the environment names (ZT_USER, ZT_PASSWORD,
 * ZT_DATABASE, ZT_MASTER), echoes a text, prints the product version, shows how the
 * server refuses a wrong password, and frees its handles. */
#include <stdio.h>
#include <stdlib.h>

#include "ztint.h"

static const char* Env(const char* name)
{
    const char* value = getenv(name);
    return value != NULL ? value : "";
}

/* Prints the text of the last failure and returns 1. */
static int Fail(const char* what)
{
    char* text = NULL;
    ZTInt_GetError(&text);
    fprintf(stderr, "%s failed: %s\n", what, text != NULL ? text : "(no text)");
    ZTInt_String_Free(text);
    return 1;
}

int main(void)
{
    ZTZentrak* zentrak = NULL;
    ZTSession* session = NULL;
    ZTSession* refused = NULL;
    ZTProductInfo* info = NULL;
    char* echo = NULL;
    char* version = NULL;
    char* refusal = NULL;

    if (ZTZentrak_Build(&zentrak) != 0)
        return Fail("ZTZentrak_Build");
    /* Empty values: the library takes them from the environment. */
    if (ZTZentrak_SessionLogon(zentrak, &session, "", "", "", "", "", 0) != 0)
        return Fail("ZTZentrak_SessionLogon");
    printf("logged on as %s to %s/%s\n", Env("ZT_USER"), Env("ZT_MASTER"), Env("ZT_DATABASE"));

    if (ZTZentrak_EchoString(zentrak, &echo, "hello from libztint") != 0)
        return Fail("ZTZentrak_EchoString");
    printf("echo: %s\n", echo);

    if (ZTZentrak_CreateProductInfo(zentrak, &info) != 0)
        return Fail("ZTZentrak_CreateProductInfo");
    if (ZTProductInfo_GetProductVersion(info, &version) != 0)
        return Fail("ZTProductInfo_GetProductVersion");
    printf("product version: %s\n", version);

    if (ZTZentrak_SessionLogon(zentrak, &refused, "", Env("ZT_USER"), "not-the-password",
                               Env("ZT_DATABASE"), Env("ZT_MASTER"), 0) == 0) {
        fputs("a wrong password was accepted\n", stderr);
        return 1;
    }
    ZTInt_GetError(&refusal);
    printf("wrong password: %s\n", refusal != NULL ? refusal : "(no text)");

    ZTInt_String_Free(refusal);
    ZTInt_String_Free(version);
    ZTInt_String_Free(echo);
    if (ZTInt_ProductInfo_Free(info) != 0 || ZTInt_Session_Free(session) != 0 ||
        ZTInt_Zentrak_Free(zentrak) != 0)
        return Fail("freeing the handles");
    puts("done");
    return 0;
}
