#include <ovk/hbaapi.h>

constinit PortStatistics ovk_rststatistics[OVK_MAX_BOARDS] = {};
