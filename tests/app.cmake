# Tests of the application: the units of the detection, and the whole program as a process.

telvane_test(test_Mask LIBS telvane_detection telvane_simulator)
telvane_test(test_GetBackground LIBS telvane_detection telvane_simulator)
telvane_test(test_Overlay LIBS telvane_detection telvane_simulator)
telvane_test(test_Detect LIBS telvane_detection telvane_simulator)
telvane_test(test_DetectFailures LIBS telvane_detection telvane_simulator)

# The acquisition with a camera that the test plays.
telvane_test(test_Grab LIBS telvane_simulator SOURCES ${PROJECT_SOURCE_DIR}/Telvane/Grab.cpp)
target_include_directories(test_Grab PRIVATE scripted_camera)

# The whole program.
telvane_test(test_Program LIBS telvane_simulator DEFINES TELVANE_PATH="$<TARGET_FILE:Telvane>")
add_dependencies(test_Program Telvane)

# The whole program with cameras of the tests: one that does not open, one that hands out known bytes.
foreach(camera closed film)
    add_executable(Telvane_${camera}_camera
        ${PROJECT_SOURCE_DIR}/Telvane/Main.cpp ${PROJECT_SOURCE_DIR}/Telvane/Grab.cpp scripted_camera/${camera}.cpp)
    target_include_directories(Telvane_${camera}_camera PRIVATE scripted_camera)
    target_link_libraries(Telvane_${camera}_camera PRIVATE telvane_detection telvane_options)
endforeach()
telvane_test(test_ProgramCameras LIBS telvane_simulator DEFINES
    TELVANE_CLOSED_CAMERA="$<TARGET_FILE:Telvane_closed_camera>"
    TELVANE_FILM_CAMERA="$<TARGET_FILE:Telvane_film_camera>")
add_dependencies(test_ProgramCameras Telvane_closed_camera Telvane_film_camera)

# The driver by itself: the film's camera before it, a detection that only answers behind it.
add_executable(Telvane_told_detection ${PROJECT_SOURCE_DIR}/Telvane/Main.cpp ${PROJECT_SOURCE_DIR}/Telvane/Grab.cpp
    scripted_camera/film.cpp scripted_detection/detection.cpp)
target_include_directories(Telvane_told_detection PRIVATE scripted_camera)
target_link_libraries(Telvane_told_detection PRIVATE Kavrix telvane_options)
telvane_test(test_ProgramDriver LIBS telvane_simulator DEFINES
    TELVANE_TOLD_DETECTION="$<TARGET_FILE:Telvane_told_detection>")
add_dependencies(test_ProgramDriver Telvane_told_detection)

# Results that are kept, of the units and of the whole program.
telvane_test(test_Golden LIBS telvane_detection telvane_simulator DEFINES
    GOLDEN_FILE="${CMAKE_CURRENT_SOURCE_DIR}/golden/results.txt"
    TELVANE_PATH="$<TARGET_FILE:Telvane>" WHEELSIM_PATH="$<TARGET_FILE:wheelsim>")
add_dependencies(test_Golden Telvane wheelsim)

# What the program does when the world around it fails.
telvane_test(test_Faults LIBS telvane_simulator DEFINES
    TELVANE_PATH="$<TARGET_FILE:Telvane>"
    TELVANE_FILM_CAMERA="$<TARGET_FILE:Telvane_film_camera>"
    TELVANE_TOLD_DETECTION="$<TARGET_FILE:Telvane_told_detection>")
add_dependencies(test_Faults Telvane Telvane_film_camera Telvane_told_detection)

# The sanitizers and emulators keep more addresses for themselves than a run may have here.
if(NOT TELVANE_SANITIZE)
    telvane_test(test_FaultsMemory LIBS telvane_simulator DEFINES TELVANE_PATH="$<TARGET_FILE:Telvane>" LABELS native)
    add_dependencies(test_FaultsMemory Telvane)
endif()
