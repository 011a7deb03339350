// A host that loads the framework at run time and unloads it: the handler of SIGBUS and what is called at a fork
// or at the end of the process must not be left without their code.
#include <dlfcn.h>
#include <gtest/gtest.h>

TEST(Unload, TheFrameworkStaysLoaded) {
  void* const library = ::dlopen(FRAMEWORK_FILE, RTLD_NOW);
  ASSERT_NE(library, nullptr) << ::dlerror();
  EXPECT_EQ(::dlclose(library), 0);
  EXPECT_NE(::dlopen(FRAMEWORK_FILE, RTLD_NOW | RTLD_NOLOAD), nullptr);
}
