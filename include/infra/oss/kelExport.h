#pragma once

/// Marks what the shared object exports. Everything else in it is hidden.
///
/// Classes that are thrown or caught across the border of the shared object need it as well: it
/// gives them one type information record in the whole process.
#define KELINFRA_EXPORT __attribute__((visibility("default")))
