# The capture's end-to-end tests play a generated record into the program through a JACK server
# with the dummy backend; this is the JACK client that plays it.
pkg_check_modules (JACK REQUIRED IMPORTED_TARGET jack)

add_executable (groovesmith_record_player ${CMAKE_CURRENT_LIST_DIR}/player/RecordPlayer.cpp)
# It stands for the record deck, a program apart from ours: the sanitizer build leaves it plain.
if (GROOVESMITH_SANITIZE)
    set_target_properties (groovesmith_record_player PROPERTIES COMPILE_OPTIONS "" LINK_OPTIONS "")
endif()
target_link_libraries (groovesmith_record_player PRIVATE PkgConfig::JACK)
target_compile_options (groovesmith_record_player PRIVATE -Wall -Wextra)

add_dependencies (groovesmith_tests groovesmith_record_player)
target_compile_definitions (groovesmith_tests PRIVATE
    GROOVESMITH_RECORD_PLAYER="$<TARGET_FILE:groovesmith_record_player>")
