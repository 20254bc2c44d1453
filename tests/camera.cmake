# The camera back ends, as far as they can be tested without a camera.
telvane_test(test_simulated_camera LIBS telvane_camera_simulated telvane_simulator)
telvane_test(test_PictureConvert LIBS telvane_camera_frames)
telvane_test(test_FrameExchange LIBS telvane_camera_frames)
