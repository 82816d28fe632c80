# Third-party libraries, all from Debian's packages. Targets: tagwright_tinyxml, tagwright_json,
# tagwright_cli11, tagwright_utf8 and, on Linux, SQLite::SQLite3.
if(WIN32)
  include(cmake/dependencies_windows.cmake)
else()
  add_library(tagwright_tinyxml INTERFACE)
  find_library(TINYXML_LIBRARY tinyxml REQUIRED)
  target_compile_definitions(tagwright_tinyxml INTERFACE TIXML_USE_STL)
  target_link_libraries(tagwright_tinyxml INTERFACE ${TINYXML_LIBRARY})

  find_package(nlohmann_json REQUIRED)
  add_library(tagwright_json INTERFACE)
  target_link_libraries(tagwright_json INTERFACE nlohmann_json::nlohmann_json)

  find_package(CLI11 REQUIRED)
  add_library(tagwright_cli11 INTERFACE)
  target_link_libraries(tagwright_cli11 INTERFACE CLI11::CLI11)

  find_path(UTF8CPP_HEADERS utf8cpp/utf8.h REQUIRED)
  add_library(tagwright_utf8 INTERFACE)
  target_include_directories(tagwright_utf8 SYSTEM INTERFACE ${UTF8CPP_HEADERS})

  find_package(SQLite3 REQUIRED)
  find_package(Threads REQUIRED)
  find_package(GTest REQUIRED)
endif()
