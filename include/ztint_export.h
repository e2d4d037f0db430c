/* Visibility of the library's C interface. Everything else is hidden. */
#ifndef ZTINT_EXPORT_H
#define ZTINT_EXPORT_H

#define ZTINT_EXPORT __attribute__((visibility("default")))
#define ZTINT_NORETURN __attribute__((noreturn))

#endif
