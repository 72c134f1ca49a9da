// The macro evaluator as a whole.
#pragma once

#include "macro/evaluator.h"
#include "macro/expand.h"
