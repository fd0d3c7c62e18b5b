#include <infra/oss/kelRunnable.h>

// The interface has no body here; this source exists so that the header is compiled on its own and
// every public class has its source in the same place.
