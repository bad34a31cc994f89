#pragma once
// The engine's writers reach the replacing file through its public header.
#include "vantrove/engine/replacing_file.hpp"
