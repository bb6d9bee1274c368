// SPDX-License-Identifier: MIT
#include "tests/capi/abi.c"
