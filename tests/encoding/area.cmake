# The MP3 tests bind stand-ins for the encoder library: one with every entry point the program
# looks for, and one that lacks the entry point that writes the VBR header.
add_library (groovesmith_fake_lame MODULE ${CMAKE_CURRENT_LIST_DIR}/lame/FakeLame.c)
add_library (groovesmith_fake_lame_without_tag_writer MODULE ${CMAKE_CURRENT_LIST_DIR}/lame/FakeLame.c)
target_compile_definitions (groovesmith_fake_lame_without_tag_writer PRIVATE GROOVESMITH_FAKE_LAME_WITHOUT_TAG_WRITER=1)
foreach (fake groovesmith_fake_lame groovesmith_fake_lame_without_tag_writer)
    target_compile_options (${fake} PRIVATE -Wall -Wextra)
endforeach()

add_dependencies (groovesmith_tests groovesmith_fake_lame groovesmith_fake_lame_without_tag_writer)
target_compile_definitions (groovesmith_tests PRIVATE
    GROOVESMITH_FAKE_LAME="$<TARGET_FILE:groovesmith_fake_lame>"
    GROOVESMITH_FAKE_LAME_WITHOUT_TAG_WRITER="$<TARGET_FILE:groovesmith_fake_lame_without_tag_writer>")
