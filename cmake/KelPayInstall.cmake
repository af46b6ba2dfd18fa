# What a host gets: library and headers, a CMake package, a pkg-config file, and the QML module for Qt's import path.
include(CMakePackageConfigHelpers)

set(headers KelPayCore.h PaymentEvent.h)
if(KELPAY_SANDBOX)
    list(APPEND headers KelPaySandbox.h)
endif()
list(TRANSFORM headers PREPEND ${PROJECT_SOURCE_DIR}/include/KelPay/)
install(TARGETS kelpay EXPORT KelPayTargets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    RUNTIME COMPONENT runtime)
install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KelPay COMPONENT development)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/KelPay)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KelPayConfig.cmake.in KelPayConfig.cmake
    INSTALL_DESTINATION ${package} PATH_VARS CMAKE_INSTALL_BINDIR)
write_basic_package_version_file(KelPayConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
        ${CMAKE_CURRENT_BINARY_DIR}/KelPayConfig.cmake
        ${CMAKE_CURRENT_BINARY_DIR}/KelPayConfigVersion.cmake
        ${PROJECT_SOURCE_DIR}/cmake/KelPayAnchor.cpp
    DESTINATION ${package} COMPONENT development)

set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
get_target_property(library kelpay OUTPUT_NAME)
if(NOT library)
    set(library kelpay)
endif()
file(RELATIVE_PATH up /prefix/${pkgconfig} /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kelpay.pc.in kelpay.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kelpay.pc DESTINATION ${pkgconfig} COMPONENT development)

set(module ${CMAKE_INSTALL_LIBDIR}/qt6/qml/KelPay)
install(TARGETS kelpayplugin LIBRARY DESTINATION ${module} COMPONENT qml)
install(FILES ${PROJECT_SOURCE_DIR}/sdk/plugin/qmldir DESTINATION ${module} COMPONENT qml)
install(FILES ${QT_QML_OUTPUT_DIRECTORY}/KelPay/kelpay_sdk.qmltypes DESTINATION ${module} RENAME KelPay.qmltypes
    COMPONENT qml)

if(TARGET kelpay-sandbox)
    install(TARGETS kelpay-sandbox RUNTIME COMPONENT sandbox)
endif()
if(KELPAY_SANDBOX)
    install(TARGETS kelpay_testing EXPORT KelPayTargets ARCHIVE COMPONENT development)
    install(FILES ${PROJECT_SOURCE_DIR}/include/KelPay/Testing.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KelPay
        COMPONENT development)
endif()
install(EXPORT KelPayTargets NAMESPACE KelPay:: DESTINATION ${package} COMPONENT development)
