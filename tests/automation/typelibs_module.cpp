// ovx_test_typelibs.dll holds the test type libraries as resources and no code of its own.
