# What keeps a mistake in reading hostile bytes from becoming more than a crash: copies and stacks are
# checked, code lies at another address in every run, and what the loader has filled in is read-only.
# Costs up to 4 % of the instructions of a large run, most of them for the stacks.
add_compile_options("$<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CONFIG:Release>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>"
                    "$<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CONFIG:Release>>:-fstack-protector-strong>")
add_link_options("$<$<CONFIG:Release>:-fstack-protector-strong>")
if(NOT WIN32)  # there the linker does the like of it unasked
  add_compile_options(-fPIE)
  add_link_options(-pie "$<$<CONFIG:Release>:-Wl,-z,relro,-z,now>")
endif()
