#pragma once

/// @file
/// The OpenSG types the fields are made of, for every other file: a template over a type of hidden visibility is hidden
/// itself, whatever its own attribute says, and the field classes must be the same ones in every library.
#pragma GCC visibility push(default)
#include <OpenSG/OSGConfig.h>

#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGQuaternion.h>
#include <OpenSG/OSGVector.h>
#pragma GCC visibility pop
