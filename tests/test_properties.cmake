# Properties of single tests, whose names only ctest knows. The presets of the sanitizers leave tests out by
# these labels; docs/building.md has the reasons.
set(ends_threads
  EndsAThreadWhereverItIs TerminatedThreadLeavesThePipeUsable ThreadThatEndsAbandonsIt
  ATerminationWaitsForTheStep RunWaitsForTheEndAndThenForcesIt AControlThreadThatHangsIsEndedByForce
  OfAMessageThreadEndsTheConnectionThread AConnectionThreadThatTakesItsTime)
set(limits_memory ThreadStartTest)
set(crashes StructuredExceptions CrashReport ThreadCrashTest)
set(labels ends_threads limits_memory crashes)

foreach(test IN LISTS test_contract_TESTS test_encode_TESTS test_host_TESTS test_pipe_TESTS
                      test_support_TESTS)
  set(own "")
  foreach(label IN LISTS labels)
    list(JOIN ${label} "|" names)
    if(test MATCHES "${names}")
      list(APPEND own ${label})
    endif()
  endforeach()
  set_tests_properties("${test}" PROPERTIES LABELS "${own}")
  # They put files into the same place beside one program.
  if(test MATCHES "SdkFilesTest")
    set_tests_properties("${test}" PROPERTIES RESOURCE_LOCK sdk_files)
  endif()
endforeach()
