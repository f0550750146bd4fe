#ifndef KYR_MUTATION_SWITCH
#define KYR_MUTATION_SWITCH

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

/// Every mutant is compiled in behind `mutation::is(its number)`; schemata.py writes the calls.
namespace mutation {

/// What the environment says to the whole process tree: the one mutant that is to live (KYR_MUTANT), or a
/// file with a byte for each number (KYR_MUTANTS_REACHED), set when a process comes to where the mutant would
/// have been.
class Switch
{
public:
    static const Switch& get()
    {
        static const Switch one;
        return one;
    }
    bool is(int mutant) const
    {
        if (m_reached && mutant < m_count)
            m_reached[mutant] = 1;
        return mutant == m_chosen;
    }

private:
    Switch()
    {
        if (const char* mutant = std::getenv("KYR_MUTANT"))
            m_chosen = std::atoi(mutant);
        const char* path = std::getenv("KYR_MUTANTS_REACHED");
        const int file = path ? open(path, O_RDWR | O_CLOEXEC) : -1;
        if (file < 0)
            return;
        m_count = static_cast<int>(lseek(file, 0, SEEK_END));
        void* bytes =
            mmap(nullptr, static_cast<size_t>(m_count), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (bytes != MAP_FAILED)
            m_reached = static_cast<unsigned char*>(bytes);
        close(file);
    }

    int m_chosen = -1;
    int m_count = 0;
    unsigned char* m_reached = nullptr; // for the process's life: others' destructors still write
};

inline bool is(int mutant) { return Switch::get().is(mutant); }

} // namespace mutation

#endif
