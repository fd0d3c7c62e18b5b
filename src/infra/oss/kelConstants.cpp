#include <infra/oss/kelConstants.h>

// The constants are inline; this source exists so that the header is compiled on its own and every
// public class has its source in the same place.
