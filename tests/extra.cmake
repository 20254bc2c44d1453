# The facilities of the library that the detection run does not call.
telvane_test(test_FastFilter)
telvane_test(test_drawing)
telvane_test(test_rawfiles)
telvane_test(test_arraydump)
telvane_test(test_Surface)

# The examples, run as programs.
if(NOT TARGET filter_views)
    add_subdirectory(${PROJECT_SOURCE_DIR}/examples ${PROJECT_BINARY_DIR}/examples)
endif()
telvane_test(test_examples DEFINES
    FILTER_VIEWS="$<TARGET_FILE:filter_views>"
    FLOW_COLOURS="$<TARGET_FILE:flow_colours>"
    DRAW_MARKS="$<TARGET_FILE:draw_marks>")
add_dependencies(test_examples filter_views flow_colours draw_marks)
