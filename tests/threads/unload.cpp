// Usage: unload LIBRARY
// Loads the library at run time and unloads it while a task of it is still to return.
#include <dlfcn.h>
#include <semaphore.h>
#include <unistd.h>

namespace {

sem_t g_unloaded;

void Task(void* /*argument*/) {
    sem_wait(&g_unloaded);
}

} // namespace

int main(int /*count*/, char** arguments) {
    using Spawn = int(void (*)(void*), void*, int, long, long, int);
    sem_init(&g_unloaded, 0, 0);
    void* const library = dlopen(arguments[1], RTLD_NOW);
    if (library == nullptr) {
        return 1;
    }
    auto* const spawn = reinterpret_cast<Spawn*>(dlsym(library, "ThreadSpawn"));
    int const spawned = spawn(Task, nullptr, 0, 0, 0, 0);
    dlclose(library);
    sem_post(&g_unloaded);
    usleep(100000); // the task returns into the library
    return spawned == 1 ? 0 : 1;
}
