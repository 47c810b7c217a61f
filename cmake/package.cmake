# SPDX-FileCopyrightText: 2026 The QuillBay developers
# SPDX-License-Identifier: GPL-2.0-or-later

# What a system-wide installation has beside the module, and the Debian package.
set(CPACK_PACKAGE_NAME "obs-quillbay")
set(CPACK_PACKAGE_CONTACT "The QuillBay developers <quillbay@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE
)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "video")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "obs-studio (>= 30.2)")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Every scene of OBS Studio gets a formatted note of its own. A dock shows the
note of the scene on air, saves it as you type, scrolls it as a teleprompter,
imports Word, HTML and text files, and keeps backups.

Phones on the same network can read, edit and scroll the notes in a browser."
)

# Debian wants its own form of a change log, packed without a date.
string(TIMESTAMP quillbay_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(
  CONFIGURE
  OUTPUT "${PROJECT_BINARY_DIR}/changelog"
  CONTENT
    "@CPACK_PACKAGE_NAME@ (@PROJECT_VERSION@) unstable; urgency=medium\n
  * What is new stands in CHANGELOG.md beside this file.\n
 -- @CPACK_PACKAGE_CONTACT@  @quillbay_date@\n"
  @ONLY
)
execute_process(
  COMMAND gzip -9n
  INPUT_FILE "${PROJECT_BINARY_DIR}/changelog"
  OUTPUT_FILE "${PROJECT_BINARY_DIR}/changelog.gz" COMMAND_ERROR_IS_FATAL ANY
)
install(FILES packaging/copyright CHANGELOG.md "${PROJECT_BINARY_DIR}/changelog.gz"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${CPACK_PACKAGE_NAME}"
)
install(FILES packaging/com.obsproject.Studio.Plugin.QuillBay.metainfo.xml
        DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo"
)
include(CPack)
