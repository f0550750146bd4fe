#pragma once

/// A process-wide object of the host. The pointer starts null; whoever needs the object and finds it null
/// creates it with the type's default constructor and stores it here. The host owns what is stored and never
/// deletes it before the process ends; a test may put a double in its place.
///
/// The header of each such type declares its instantiation `extern` and one library defines it, so that the
/// program, the libraries and a plug-in loaded at run time see one pointer, also with hidden visibility.
/// Created without locking: the host's thread only.
template <class T>
class Singleton
{
public:
    /// The one object, or null when nobody has needed it yet.
    static T* instance;
};

template <class T>
T* Singleton<T>::instance = nullptr;
