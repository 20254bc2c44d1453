# The camera back ends, as far as they can be tested without a camera.
telvane_test(test_simulated_camera LIBS telvane_camera_simulated telvane_simulator)
telvane_test(test_PictureConvert LIBS telvane_camera_frames)
telvane_test(test_FrameExchange LIBS telvane_camera_frames)

# The camera class of the libcamera back end and the acquisition, with a device that the test plays.
telvane_test(test_LibcameraBackEnd LIBS telvane_camera_frames SOURCES
    ${PROJECT_SOURCE_DIR}/camera/libcamera/raspicam.cpp ${PROJECT_SOURCE_DIR}/Telvane/Grab.cpp)
target_include_directories(test_LibcameraBackEnd PRIVATE ${PROJECT_SOURCE_DIR}/camera/libcamera)
