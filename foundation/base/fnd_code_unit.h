// The foundation's character: one UTF-16 code unit in machine order.
#pragma once

// char16_t is ICU's UChar, so foundation text passes to ICU without casts.
// A character outside the basic plane takes two units (a surrogate pair).
typedef char16_t Code_Unit;
