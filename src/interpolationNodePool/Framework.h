#pragma once

/// @file
/// All that the pool takes from outside: OpenSG's value types and log, and the framework's classes. What the pool finds
/// convenient beyond them is its own.
// A template over a type of hidden visibility is hidden itself, whatever its own attribute says, and the field classes
// must be the same ones in every library.
#pragma GCC visibility push(default)
#include <OpenSG/OSGConfig.h>

#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGQuaternion.h>
#include <OpenSG/OSGVector.h>
#pragma GCC visibility pop

#include "base/Context.h"
#include "base/Fields.h"
#include "base/Log.h"
#include "base/NodeProc.h"
#include "base/NodeType.h"
#include "coreNodePool/TransCoder.h"
#include "coreNodePool/TransCoderProc.h"
