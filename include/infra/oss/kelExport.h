#pragma once

/// Marks what the shared object exports. Everything else in it is hidden.
///
/// Classes that are thrown or caught across the border of the shared object need it as well: it
/// gives them one type information record in the whole process.
#define KELINFRA_EXPORT __attribute__((visibility("default")))

/// Marks private operations of an exported class that only the library itself calls.
#define KELINFRA_INTERNAL __attribute__((visibility("hidden")))

/// Marks inline operations of an exported class that the library holds as well, for what looks
/// functions up by name: debuggers, dlsym(), programs built when the operation was not inline.
#ifdef KELINFRA_BUILDS_INLINES
#define KELINFRA_ALSO_EXPORTED __attribute__((used, visibility("default")))
#else
#define KELINFRA_ALSO_EXPORTED
#endif
