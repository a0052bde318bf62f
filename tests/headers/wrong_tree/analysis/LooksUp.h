#pragma once

#include "media/Asset.h"
