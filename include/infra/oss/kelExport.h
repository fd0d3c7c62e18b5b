#pragma once

/// Marks what the shared object exports. Everything else in it is hidden.
///
/// Classes that are thrown or caught across the border of the shared object need it as well: it
/// gives them one type information record in the whole process.
#define KELINFRA_EXPORT __attribute__((visibility("default")))

/// Marks private operations of an exported class that only the library itself calls. Private
/// operations that inline code of a header calls go without it: a program calls them, too.
#define KELINFRA_INTERNAL __attribute__((visibility("hidden")))

/// Marks inline operations of an exported class that the library holds as well, for what looks
/// functions up by name: debuggers, dlsym(), programs built when the operation was not inline. The
/// source that defines KELINFRA_BUILDS_INLINES keeps them; a copy that another source makes must be
/// as visible, because the linker hides what one source hides.
#ifdef KELINFRA_BUILDS_INLINES
#define KELINFRA_ALSO_EXPORTED __attribute__((used, visibility("default")))
#else
#define KELINFRA_ALSO_EXPORTED __attribute__((visibility("default")))
#endif
