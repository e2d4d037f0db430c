// Whether this program runs under AddressSanitizer, whose allocator keeps freed memory
// in quarantine and is not the one a malloc hook or a resident-size check would see.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define ZTINT_TEST_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZTINT_TEST_UNDER_ASAN 1
#endif
#endif
#ifndef ZTINT_TEST_UNDER_ASAN
#define ZTINT_TEST_UNDER_ASAN 0
#endif

constexpr bool ZTInt_Test_Under_Asan = ZTINT_TEST_UNDER_ASAN != 0;
