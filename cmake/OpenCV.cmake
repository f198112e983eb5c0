# OpenCV::camera: the four parts of OpenCV that the camera uses. Debian's configuration file for CMake comes
# only with the package of all parts, which brings in some hundred others, so that the parts are looked for
# one by one here.

find_path(OPENCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4 REQUIRED)
mark_as_advanced(OPENCV_INCLUDE_DIR)

add_library(opencv_camera INTERFACE)
add_library(OpenCV::camera ALIAS opencv_camera)
target_include_directories(opencv_camera SYSTEM INTERFACE ${OPENCV_INCLUDE_DIR})
foreach(part videoio imgcodecs imgproc core)
    find_library(OPENCV_${part}_LIBRARY opencv_${part} REQUIRED)
    mark_as_advanced(OPENCV_${part}_LIBRARY)
    target_link_libraries(opencv_camera INTERFACE ${OPENCV_${part}_LIBRARY})
endforeach()
