#pragma once

/// Marks what the shared object exports. Everything else in it is hidden.
///
/// Classes that are thrown or caught across the border of the shared object need it as well: it
/// gives them one type information record in the whole process.
#define KELINFRA_EXPORT __attribute__((visibility("default")))

/// Marks private operations of an exported class that only the library itself calls.
#define KELINFRA_INTERNAL __attribute__((visibility("hidden")))
