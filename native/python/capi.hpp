// Includes Python.h the same way everywhere.
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>

#if PY_VERSION_HEX < 0x030C0000 || PY_VERSION_HEX >= 0x030D0000
#error "muvad_tarnel.setup.skill is for CPython 3.12 alone: its functions hold that version's instructions"
#endif
