# Filters, motion analysis and picture files.
telvane_test(test_Imgproc)
telvane_test(test_OptFlow)
telvane_test(test_OptFlowCancel) # defines TestQ itself
telvane_test(test_Votes)
telvane_test(test_FindSemiCircle)
telvane_test(test_bmpread)
telvane_test(test_bmpwrite)
telvane_test(test_jpegwrite LIBS PNG::PNG)

# The writer's own unit is compiled into the program, where its calls of libjpeg can be led elsewhere.
telvane_test(test_jpegwrite_exceptions SOURCES ${CMAKE_CURRENT_LIST_DIR}/../Kavrix/jpegwrite.cpp)
foreach(function CreateCompress stdio_dest set_defaults set_quality start_compress write_scanlines finish_compress
        destroy_compress)
    target_link_options(test_jpegwrite_exceptions PRIVATE -Wl,--wrap=jpeg_${function})
endforeach()
