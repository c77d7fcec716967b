# The record file is read and written without a window; the dialog around it is tested in the main window. Its
# source is named instead of its library, which would bring the toolkit along.
corvanta_test(unit_profiles SOURCES profiles_file_test.cpp ${PROJECT_SOURCE_DIR}/src/profiles/mail_profile_file.cpp
              LIBS corvanta_mime corvanta_base LABELS unit)
corvanta_test(unit_address_book SOURCES address_book_file_test.cpp
                                        ${PROJECT_SOURCE_DIR}/src/profiles/address_book_file.cpp
              LIBS corvanta_mime corvanta_base LABELS unit)
