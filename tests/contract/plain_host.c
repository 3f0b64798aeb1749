/* A host that includes nothing and knows the library by its plain names alone. */

extern void* dlopen(const char* file, int mode);
extern void* dlsym(void* handle, const char* name);
extern int dlclose(void* handle);

enum
{
    kResolveNow = 2
};

typedef void* (*CreateFunction)(void);
typedef void (*DeleteFunction)(void*);

/* Loads the library, makes one driver of each level and deletes it by the pair of the next, and unloads it.
   0, or the number of the step that failed. */
int PlainHostRun(const char* library)
{
    static const char* const creates[] = {"CreateIPCapture", "CreateIPCaptureEx", "CreateIPCaptureEx2",
                                          "CreateIPCaptureEx3", "CreateIPCaptureEx4"};
    static const char* const deletes[] = {"DeleteIPCaptureEx", "DeleteIPCaptureEx2", "DeleteIPCaptureEx3",
                                          "DeleteIPCaptureEx4", "DeleteIPCapture"};
    void* const handle = dlopen(library, kResolveNow);
    int level;
    if (handle == 0)
        return 1;
    for (level = 0; level < 5; ++level)
    {
        const CreateFunction create = (CreateFunction)dlsym(handle, creates[level]);
        const DeleteFunction delete_ = (DeleteFunction)dlsym(handle, deletes[level]);
        void* driver;
        if (create == 0 || delete_ == 0)
            return 2;
        driver = create();
        if (driver == 0)
            return 3;
        delete_(driver);
        delete_(0);
    }
    return dlclose(handle) == 0 ? 0 : 4;
}
