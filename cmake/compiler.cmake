# SPDX-FileCopyrightText: 2026 The QuillBay developers
# SPDX-License-Identifier: GPL-2.0-or-later

# What every target of ours is compiled with.
add_library(quillbay_options INTERFACE)

target_compile_definitions(
  quillbay_options
  INTERFACE QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QUILLBAY_VERSION="${PROJECT_VERSION}"
)

if(MSVC)
  target_compile_options(quillbay_options INTERFACE /utf-8 /W4 $<$<BOOL:${QUILLBAY_WERROR}>:/WX>)
else()
  target_compile_options(
    quillbay_options
    INTERFACE -Wall -Wextra -Wpedantic -Wshadow $<$<BOOL:${QUILLBAY_WERROR}>:-Werror>
  )
endif()

if(QUILLBAY_SANITIZE)
  target_compile_options(
    quillbay_options
    INTERFACE -fsanitize=${QUILLBAY_SANITIZE} -fno-sanitize-recover=undefined -fno-omit-frame-pointer
  )
  target_link_options(quillbay_options INTERFACE -fsanitize=${QUILLBAY_SANITIZE})
endif()

if(QUILLBAY_FUZZ)
  target_compile_options(
    quillbay_options
    INTERFACE -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer
  )
  target_link_options(quillbay_options INTERFACE -fsanitize=address,undefined)
endif()

# The host's headers use GNU extensions: they are the host's, not ours to warn about.
foreach(host OBS::libobs OBS::obs-frontend-api)
  get_target_property(host_includes ${host} INTERFACE_INCLUDE_DIRECTORIES)
  if(host_includes)
    set_target_properties(${host} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${host_includes}")
  endif()
endforeach()
