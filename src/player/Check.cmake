# Sources of the animation linter, for the target that carries it.
set(checkSources
    Check.cpp CheckCodes.cpp CheckCommand.cpp CheckKeys.cpp CheckRoutes.cpp CheckSeams.cpp CheckValues.cpp)
