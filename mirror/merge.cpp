#include "mirror/merge.h"
namespace mirror {
Merged MergeStoreChange(const MergeInput& input) { return {std::string(input.after), {}, {}}; }
std::string ContentKey(std::string_view text) { std::string t; size_t i=0; while(i<text.size()){size_t e=text.find(10,i); if(e==text.npos) e=text.size()-1; auto l=text.substr(i,e+1-i); if(!l.starts_with("REV")&&!l.starts_with("DTSTAMP")) t+=l; i=e+1;} return t; }
}
