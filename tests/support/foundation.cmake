# Stand-ins for a process's surroundings.
vela_room(vela_test_foundation
    USES platform_Date platform_Log
    SOURCES ChildProcess.cpp FixedAmbient.cpp RecordingLogSink.cpp ScopedEnvironment.cpp SmallDisk.cpp TemporaryFolder.cpp ZoneInForce.cpp)
