target_link_libraries(${program} PUBLIC sentrel_check)
