#pragma once

#include "../../../src/components/Singleton.h"
