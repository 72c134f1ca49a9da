// The file operations of the core, under the name that the table engine knows them by.
#pragma once

#include "core/file_ops.h"
#include "core/open_files.h"
