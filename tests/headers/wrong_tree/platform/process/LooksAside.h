#pragma once

#include "platform/libav/LibavAsset.h"
