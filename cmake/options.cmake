# Compiler flags and the one way libraries are made.

add_compile_options(-Wall -Wextra -Wformat=2 -Werror=format-security -Wno-format-nonliteral)
# GCC 12 sees overlaps in std::string's operator+ that are none (its bug 105651).
add_compile_options(-Wno-restrict)
if(CORVANTA_WERROR)
  add_compile_options(-Werror)
endif()
if(CORVANTA_SANITIZE)
  add_compile_options(-fsanitize=${CORVANTA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${CORVANTA_SANITIZE})
else()
  add_compile_options(-fstack-protector-strong)
  # What mail and servers send is hostile: a mistake in reading it ends the program, and is not used against its user.
  add_compile_options($<$<CONFIG:Release>:-fstack-clash-protection>)
  add_compile_definitions($<$<CONFIG:Release>:_FORTIFY_SOURCE=3> $<$<CONFIG:Release>:_GLIBCXX_ASSERTIONS>)
  include(CheckCXXCompilerFlag)
  check_cxx_compiler_flag(-fcf-protection CORVANTA_HAS_CF_PROTECTION) # x86 alone
  if(CORVANTA_HAS_CF_PROTECTION)
    add_compile_options($<$<CONFIG:Release>:-fcf-protection>)
  endif()
  include(CheckPIESupported)
  check_pie_supported()
  add_link_options(-Wl,-z,relro -Wl,-z,now)
endif()
# Dozens of test programs are linked: with mold, where it is.
find_program(CORVANTA_MOLD mold)
if(CORVANTA_MOLD AND NOT CORVANTA_PACKAGE)
  add_link_options(-fuse-ld=mold)
endif()
if(CORVANTA_PACKAGE)
  add_compile_options(-ffile-prefix-map=${PROJECT_BINARY_DIR}=build -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
endif()

# corvanta_library(NAME [FOLDER folder] [DEPS library...]): a static library of every .cpp file in a folder and its subfolders. What a
# library may include is what it names here, so that a wrong arrow fails to build or to link.
function(corvanta_library name)
  cmake_parse_arguments(ARG "" "FOLDER" "DEPS" ${ARGN})
  if(NOT ARG_FOLDER)
    set(ARG_FOLDER ${name})
  endif()
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${ARG_FOLDER}/*.cpp
       ${CMAKE_CURRENT_SOURCE_DIR}/${ARG_FOLDER}/*/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/${ARG_FOLDER}/*/*/*.cpp)
  add_library(corvanta_${name} STATIC ${sources})
  target_include_directories(corvanta_${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(corvanta_${name} PUBLIC ${ARG_DEPS})
endfunction()
