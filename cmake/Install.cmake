# Installing Ceolmark like a desktop program, and packaging it as a .deb with CPack.
#
#   cmake --install build --prefix P      (or: cd build && cpack -G DEB)
#
# The application finds its sounds, help, examples and terms of use beside its own executable,
# so they all go into one application folder, P/lib/ceolmark. P/bin/ceolmark is a relative
# symbolic link to the program there: the program's folder is where the link points
# (QCoreApplication::applicationDirPath() reads /proc/self/exe, which resolves links).

include(GNUInstallDirs)

set(CEOLMARK_APP_DIR lib/ceolmark)

if(TARGET ceolmark)
  install(TARGETS ceolmark RUNTIME DESTINATION ${CEOLMARK_APP_DIR})
  install(FILES
    ${PROJECT_SOURCE_DIR}/resources/sounds/click1.wav
    ${PROJECT_SOURCE_DIR}/resources/sounds/click2.wav
    DESTINATION ${CEOLMARK_APP_DIR}/sounds)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/help/ DESTINATION ${CEOLMARK_APP_DIR}/help)
  install(FILES ${PROJECT_SOURCE_DIR}/resources/terms-of-use.txt DESTINATION ${CEOLMARK_APP_DIR})
  # The examples as the build packed them.
  install(DIRECTORY ${PROJECT_BINARY_DIR}/resources/examples/ DESTINATION ${CEOLMARK_APP_DIR}/examples
    FILES_MATCHING PATTERN "*.cmk")

  # A relative link works under any prefix and inside the package.
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/launcher)
  file(CREATE_LINK ../${CEOLMARK_APP_DIR}/ceolmark ${CMAKE_CURRENT_BINARY_DIR}/launcher/ceolmark SYMBOLIC)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/launcher/ceolmark DESTINATION ${CMAKE_INSTALL_BINDIR})

  install(FILES ${PROJECT_SOURCE_DIR}/resources/linux/ceolmark.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  set(ICON_DIR ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
  install(FILES ${PROJECT_SOURCE_DIR}/resources/icons/ceolmark-256.png
    DESTINATION ${ICON_DIR}/256x256/apps RENAME ceolmark.png)
  install(FILES ${PROJECT_SOURCE_DIR}/resources/icons/ceolmark.png DESTINATION ${ICON_DIR}/64x64/apps)
  install(FILES ${PROJECT_SOURCE_DIR}/resources/icons/ceolmark.svg DESTINATION ${ICON_DIR}/scalable/apps)
endif()

if(TARGET ceolmark-cli)
  install(TARGETS ceolmark-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# The Debian package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ceolmark)
set(CPACK_PACKAGE_VENDOR "The Ceolmark developers")
set(CPACK_PACKAGE_CONTACT "The Ceolmark developers <packages@ceolmark.example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Highland bagpipe transcription while you play")
set(CPACK_PACKAGE_DESCRIPTION
  "Ceolmark listens to a Highland bagpipe or a practice chanter through a microphone while a
metronome clicks, recognises the melody notes and the embellishments (grace notes,
doublings, throws, grips, taorluaths, birls and strikes) and shows them as sheet music and
as a timing view as you play. Recordings can be transcribed again with other settings,
played back, and saved as recordings, WAV audio, PNG pictures and Bagpipe Music Writer
text. ceolmark-cli runs the same analysis on audio files.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://ceolmark.example.org)
# dpkg-shlibdeps declares the libraries the programs link; Qt loads its audio back ends as
# plugins, which no linker sees.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt5multimedia5-plugins")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
