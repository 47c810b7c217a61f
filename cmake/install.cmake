# SPDX-FileCopyrightText: 2026 The QuillBay developers
# SPDX-License-Identifier: GPL-2.0-or-later

# The layouts in which hosts look for plug-ins. Per user, install with CMAKE_INSTALL_PREFIX set to the
# user's plugins folder (on Linux ~/.config/obs-studio/plugins).
include(GNUInstallDirs)

if(APPLE)
  set(quillbay_module_dir "quillbay.plugin/Contents/MacOS")
  set(quillbay_data_dir "quillbay.plugin/Contents/Resources")
elseif(WIN32 OR QUILLBAY_PER_USER)
  set(quillbay_module_dir "quillbay/bin/64bit")
  set(quillbay_data_dir "quillbay/data")
else()
  if(CMAKE_INSTALL_LIBDIR STREQUAL "lib" AND CMAKE_LIBRARY_ARCHITECTURE)
    # The host is a Debian package that looks below its architecture's folder, whatever our prefix is.
    set(quillbay_module_dir "lib/${CMAKE_LIBRARY_ARCHITECTURE}/obs-plugins")
  else()
    set(quillbay_module_dir "${CMAKE_INSTALL_LIBDIR}/obs-plugins")
  endif()
  set(quillbay_data_dir "${CMAKE_INSTALL_DATADIR}/obs/obs-plugins/quillbay")
  include(cmake/package.cmake)
endif()

install(TARGETS quillbay LIBRARY DESTINATION "${quillbay_module_dir}" RUNTIME DESTINATION "${quillbay_module_dir}")
install(DIRECTORY data/ DESTINATION "${quillbay_data_dir}" PATTERN "remote" EXCLUDE)
