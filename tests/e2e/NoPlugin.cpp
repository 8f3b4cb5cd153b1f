// A shared object that lacks what a plug-in exports.
extern "C" [[gnu::visibility("default")]] const wchar_t* getName()
{
  return L"none";
}
