#pragma once

#include <libavutil/frame.h>
