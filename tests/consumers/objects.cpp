// Uses the object layer through its interfaces, and derives from it, as C++11.
#include <verrick/verrick.h>

#include <cstdio>
#include <memory>

class Adder : public DThread {
public:
    explicit Adder(IInterlockedValue& sum) : DThread("adder", 0, 0, 0), m_sum(sum) {}
    ~Adder() override { WaitForThreadDeath(-1); }
    void Run() override { m_sum.Add(5); }

private:
    IInterlockedValue& m_sum;
};

int main() {
    std::unique_ptr<IInterlockedValue> const sum(new DInterlockedValue(1));
    std::unique_ptr<IEvent> const event(new DEvent(false, true));
    std::unique_ptr<ISemaphore> const semaphore(new DSemaphore(1, 2, nullptr));
    std::unique_ptr<IDirList> const list(new DDirList);
    std::unique_ptr<IDynamicLibrary> const library(new DDynamicLibrary(L"libm.so.6"));
    std::unique_ptr<IIni> const ini(new DIni(L"objects.ini"));
    {
        Adder adder(*sum);
        adder.Start();
    }
    event->Signal();
    wchar_t value[8];
    DFileInfo info;
    bool const works =
        sum->GetValue() == 6 && event->Wait(-1) == WAIT_RESULT_OK &&
        semaphore->Wait(0) == WAIT_RESULT_OK && library->GetProcedureByName(L"cos") != nullptr &&
        ini->PutKeyValue(L"a", L"b", L"c") == 1 &&
        ini->GetKeyValue(L"a", L"b", L"", value, 8) == 1 && list->FindFirst(L"objects.in?", &info);
    std::puts(works ? "the object layer works from outside" : "the object layer failed");
    return works ? 0 : 1;
}
