# Installs the program as a desktop program on Debian and packs it with CPack:
#   /usr/lib/groovesmith/Groovesmith       the executable, with its language files beside it
#   /usr/bin/groovesmith                   a link to it on the PATH
#   /usr/share/applications, icons/hicolor, metainfo, man/man1, doc/groovesmith
# `cmake --install build` installs; `cpack -G DEB` in build/ makes the package (script/package).

set (GROOVESMITH_ID org.tonewell.Groovesmith)
set (GROOVESMITH_PRIVATE_DIR lib/groovesmith)

# Folders as Debian wants them, whatever the umask of the one who packs.
set (CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
     OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Installing and packing never start a build of everything (the tests may be running): build first.
set (CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

set (GROOVESMITH_LANGUAGE_FILES
     ${PROJECT_SOURCE_DIR}/resources/lang/lang-fr.txt
     ${PROJECT_SOURCE_DIR}/resources/lang/lang-de.txt)

# The language files also go beside the built program, so that build/Groovesmith speaks them too.
foreach (languageFile ${GROOVESMITH_LANGUAGE_FILES})
    get_filename_component (languageName ${languageFile} NAME)
    add_custom_command (TARGET Groovesmith POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E copy_if_different ${languageFile} $<TARGET_FILE_DIR:Groovesmith>/${languageName})
endforeach()

# The change log and the manual page go compressed, without time stamps.
set (GROOVESMITH_PACKAGING_OUT ${PROJECT_BINARY_DIR}/packaging)
file (MAKE_DIRECTORY ${GROOVESMITH_PACKAGING_OUT})
add_custom_command (OUTPUT ${GROOVESMITH_PACKAGING_OUT}/changelog.gz ${GROOVESMITH_PACKAGING_OUT}/groovesmith.1.gz
    COMMAND gzip -9n -c ${PROJECT_SOURCE_DIR}/packaging/changelog > ${GROOVESMITH_PACKAGING_OUT}/changelog.gz
    COMMAND gzip -9n -c ${PROJECT_SOURCE_DIR}/packaging/groovesmith.1 > ${GROOVESMITH_PACKAGING_OUT}/groovesmith.1.gz
    DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog ${PROJECT_SOURCE_DIR}/packaging/groovesmith.1
    VERBATIM)
add_custom_target (groovesmith_docs ALL
    DEPENDS ${GROOVESMITH_PACKAGING_OUT}/changelog.gz ${GROOVESMITH_PACKAGING_OUT}/groovesmith.1.gz)

# The launcher on the PATH: a relative link, so that the installed tree can move as a whole.
file (CREATE_LINK ../${GROOVESMITH_PRIVATE_DIR}/Groovesmith ${GROOVESMITH_PACKAGING_OUT}/groovesmith SYMBOLIC)

install (TARGETS Groovesmith RUNTIME DESTINATION ${GROOVESMITH_PRIVATE_DIR})
install (FILES ${GROOVESMITH_LANGUAGE_FILES} DESTINATION ${GROOVESMITH_PRIVATE_DIR})
install (FILES ${GROOVESMITH_PACKAGING_OUT}/groovesmith DESTINATION bin)
install (FILES packaging/${GROOVESMITH_ID}.desktop DESTINATION share/applications)
install (FILES packaging/${GROOVESMITH_ID}.metainfo.xml DESTINATION share/metainfo)
foreach (size 16 24 32 48 64 128 256)
    install (FILES resources/icons/groovesmith-${size}.png
             DESTINATION share/icons/hicolor/${size}x${size}/apps
             RENAME ${GROOVESMITH_ID}.png)
endforeach()
install (FILES ${GROOVESMITH_PACKAGING_OUT}/groovesmith.1.gz DESTINATION share/man/man1)
install (FILES packaging/copyright ${GROOVESMITH_PACKAGING_OUT}/changelog.gz DESTINATION share/doc/groovesmith)

#==============================================================================
# The Debian package.
set (CPACK_GENERATOR DEB)
set (CPACK_PACKAGE_NAME groovesmith)
set (CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set (CPACK_PACKAGE_VENDOR Tonewell)
set (CPACK_PACKAGE_CONTACT "Tonewell <groovesmith@tonewell.org>")
set (CPACK_PACKAGING_INSTALL_PREFIX /usr)
set (CPACK_STRIP_FILES ON)
set (CPACK_PACKAGE_DESCRIPTION_SUMMARY "turns records or any audio input into tagged albums")
set (CPACK_PACKAGE_DESCRIPTION
     "Groove Smith is a wizard that captures the sound of a record player, or of\n"
     "any other audio input, straight to WAV files and cuts the tracks at the\n"
     "silences between songs. It cleans them with a declicker, a denoiser, a\n"
     "normalizer and a 45-to-33 rpm correction, splits, merges and renames them,\n"
     "and encodes them to WAV, AIFF, FLAC, Ogg Vorbis or MP3, tagged and named in\n"
     "an album folder with the covers beside them. It can also re-encode existing\n"
     "audio files. It speaks English, French and German.")
string (CONCAT CPACK_PACKAGE_DESCRIPTION ${CPACK_PACKAGE_DESCRIPTION})
set (CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set (CPACK_DEBIAN_PACKAGE_SECTION sound)
set (CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set (CPACK_DEBIAN_PACKAGE_HOMEPAGE https://tonewell.org/groovesmith)
set (CPACK_DEBIAN_COMPRESSION_TYPE xz)
# What the linker linked, found by dpkg-shlibdeps, and what the program opens at run time:
# LAME for MP3, the X11 libraries through which the framework draws its windows, and the fonts
# it finds through the fontconfig configuration.
set (CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set (CPACK_DEBIAN_PACKAGE_DEPENDS
     "libmp3lame0, libx11-6, libxext6, libxcursor1, libxinerama1, libxrandr2, libxrender1, fontconfig-config, fonts-dejavu-core | fonts-liberation2 | fonts-liberation")
# JACK is an audio device type among others, opened when it is there.
set (CPACK_DEBIAN_PACKAGE_RECOMMENDS "libjack-jackd2-0 | libjack0")
include (CPack)
