# Runs at installation. Without the folder of its action log the command keeps no record, and nothing but a line
# on standard error tells of it; so it is made where it is missing, whatever the file-creation mask. What is there,
# were it a link that leads nowhere today, is the administrator's and stays as it is.

cmake_policy(VERSION 3.25)
foreach(folder /var /var/opt /var/opt/QZKBsoftmsg /var/opt/QZKBsoftmsg/log)
  set(path "$ENV{DESTDIR}${folder}")
  if(NOT EXISTS "${path}" AND NOT IS_SYMLINK "${path}")
    message(STATUS "Installing: ${path}")
    file(MAKE_DIRECTORY "${path}")
    file(CHMOD "${path}" PERMISSIONS
      OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
endforeach()
