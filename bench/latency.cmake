# How long the camera takes over what it is asked for, and whether it loses frames: the built library against the device kit.
if(WIN32)
    add_executable(latency_bench latency_bench.cpp)
    target_link_libraries(latency_bench PRIVATE ocellus devicekit devicekit_pictures ole32)
endif()
