#include "platform/libav/LibavAsset.h"
