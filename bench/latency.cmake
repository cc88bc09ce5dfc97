# How long the camera takes over what it is asked for, and whether it loses frames: the built library against the device kit.
if(WIN32 AND NOT OCELLUS_CE)
    add_executable(latency_bench latency_bench.cpp ${PROJECT_SOURCE_DIR}/tests/system/frames.cpp)
    target_include_directories(latency_bench PRIVATE ${PROJECT_SOURCE_DIR}/tests/system
                                                     ${PROJECT_SOURCE_DIR}/device_kit)
    target_link_libraries(latency_bench PRIVATE ocellus devicekit ole32)
endif()
