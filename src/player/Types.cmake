set(typesSources PoolLoader.cpp TypesCommand.cpp)
set_source_files_properties(PoolLoader.cpp PROPERTIES COMPILE_DEFINITIONS ZELVAN_MAJOR="${PROJECT_VERSION_MAJOR}")
