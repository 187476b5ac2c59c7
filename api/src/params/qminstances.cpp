// The parameter templates' instantiations for the value types in common use, compiled here once;
// the headers declare them extern, so that the test modules do not each compile them again.
#include "qmiterators.h"
#include "qmmapiterator.h"
#include "qmstepiterator.h"

template class qmIterator<int>;
template class qmIterator<float>;
template class qmIterator<double>;
template class qmIterator<ZkriSize>;
template class qmDefault_NSC<int>;
template class qmDefault_NSC<float>;
template class qmDefault_NSC<double>;
template class qmDefault_NSC<ZkriSize>;
template class qmIterator_NSC<int>;
template class qmIterator_NSC<float>;
template class qmIterator_NSC<double>;
template class qmIterator_NSC<ZkriSize>;
template class qmEnumIterator_NCS<int>;
template class qmStepIterator<int>;
template class qmStepIterator<double>;
template class qmStepIterator<ZkriSize>;
template class qmMapIterator<int>;
