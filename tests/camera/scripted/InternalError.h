#pragma once

#include "../../../src/components/InternalError.h"
