# What the tools share: pictures and files.
telvane_test(test_Canvas LIBS telvane_tools PNG::PNG)
telvane_test(test_Files LIBS telvane_tools)
