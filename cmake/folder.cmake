# What nearly every file includes is parsed once a target where QV_PRECOMPILE says so, which halves the
# time of a build. The everyday build and scripts/check-tidy do without: there, a file that lacks an
# include is told of.
set(QV_COMMON_HEADERS
  <algorithm> <functional> <memory> <optional> <QDir> <QFile> <QFileInfo> <QJsonObject> <QObject>
  <QRegularExpression> <QString> <QStringList> <QTimer> <QVariant>)
set(QV_TEST_HEADERS <gtest/gtest.h> <gmock/gmock.h> <QProcess> <QTemporaryDir>)
function(qv_precompile target)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  list(LENGTH sources count)
  if(QV_PRECOMPILE AND count GREATER 3) # fewer don't repay it
    target_precompile_headers(${target} PRIVATE ${QV_COMMON_HEADERS} ${ARGN})
  endif()
endfunction()

# The C++ files of this folder and of these sub-folders.
function(qv_sources variable)
  set(patterns *.cpp *.h)
  foreach(folder ${ARGN})
    list(APPEND patterns ${folder}/*.cpp ${folder}/*.h)
  endforeach()
  list(TRANSFORM patterns PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  file(GLOB sources CONFIGURE_DEPENDS ${patterns})
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# One library target a folder: qv_folder(<name> DEPENDS <folders and libraries...>
# [FOLDERS <sub-folders...>] [PRECOMPILE <headers that most of its files include...>]).
# Every source of the folder belongs to it, so a new file needs no line here.
function(qv_folder name)
  cmake_parse_arguments(ARG "" "" "DEPENDS;FOLDERS;PRECOMPILE" ${ARGN})
  qv_sources(sources ${ARG_FOLDERS})
  if(NOT sources)
    return()
  endif()
  add_library(qv_${name} STATIC ${sources})
  target_include_directories(qv_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(qv_${name} PUBLIC ${ARG_DEPENDS} PRIVATE qv_options)
  qv_precompile(qv_${name} ${ARG_PRECOMPILE})
endfunction()

# qv_test(<folder> DEPENDS <...> [FOLDERS <sub-folders...>] [MAIN <library with main()>]): one test program a folder, run
# through CTest.
function(qv_test name)
  cmake_parse_arguments(ARG "" "MAIN" "DEPENDS;FOLDERS" ${ARGN})
  if(NOT ARG_MAIN)
    set(ARG_MAIN qv_test_main)
  endif()
  qv_sources(sources ${ARG_FOLDERS})
  if(NOT sources)
    return()
  endif()
  add_executable(${name}_tests ${sources})
  set_target_properties(${name}_tests PROPERTIES QV_TEST_CODE ON)
  target_include_directories(${name}_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name}_tests PRIVATE ${ARG_DEPENDS} ${ARG_MAIN} qv_options)
  qv_precompile(${name}_tests ${QV_TEST_HEADERS})
  gtest_discover_tests(${name}_tests DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT 300 ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8")
endfunction()
